#include "app/main_window_win.h"

#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "app/commands.h"
#include "app/layout.h"
#include "app/system_menu_win.h"
#include "win/window_class.h"

namespace wendra {
namespace {

constexpr wchar_t kWindowClass[] = L"WendraHostWnd";
constexpr int kWidthPx = 1260;
constexpr int kHeightPx = 900;

void RegisterWindowClass(HINSTANCE instance, WNDPROC procedure) {
  // No background: page and panel cover the window.
  WNDCLASSEXW windowClass = MakeWindowClass(instance, kWindowClass, procedure);
  windowClass.hIcon = LoadProgramIcon(instance);
  windowClass.hIconSm = windowClass.hIcon;
  (void)RegisterClassExW(&windowClass);  // on failure CreateWindowExW fails too
}

RECT ToRect(const Box& box) { return {box.left, box.top, box.right, box.bottom}; }

}  // namespace

MainWindow::MainWindow(HINSTANCE instance, WindowLog& log, WindowHandlers handlers)
    : instance_(instance), log_(log), handlers_(std::move(handlers)) {
  RegisterWindowClass(instance, &MainWindow::WindowProcedure);
  CreateWindowExW(0, kWindowClass, L"Wendra", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                  kWidthPx, kHeightPx, nullptr, nullptr, instance, this);
  isCreated_ = window_ != nullptr;
}

MainWindow::~MainWindow() {
  if (window_) DestroyWindow(window_);
}

void MainWindow::Show() {
  ShowWindow(window_, SW_SHOW);
  UpdateWindow(window_);
}

AcceleratorTable MainWindow::MakeAccelerators() {
  ACCEL keys[] = {{FVIRTKEY | FCONTROL, 'L', kToggleLogPanelCommand},
                  {FVIRTKEY | FCONTROL, 'R', kReloadCommand},
                  {FVIRTKEY | FCONTROL, 'U', kCheckForUpdatesCommand}};
  return AcceleratorTable(CreateAcceleratorTableW(keys, static_cast<int>(std::size(keys))));
}

LRESULT CALLBACK MainWindow::WindowProcedure(HWND window, UINT message, WPARAM wparam,
                                             LPARAM lparam) {
  if (message == WM_NCCREATE) {
    const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lparam);
    auto* self = static_cast<MainWindow*>(creation->lpCreateParams);
    self->window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  // Null for the messages before WM_NCCREATE and after WM_NCDESTROY.
  auto* self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  // The control may dispatch messages while it closes: the window is destroyed once.
  if (self && self->isGoing_ && message == WM_CLOSE) return 0;
  if (self) self->OnMessage(message, wparam, lparam);
  return DefWindowProcW(window, message, wparam, lparam);
}

void MainWindow::OnMessage(UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_DESTROY) isGoing_ = true;
  for (const auto& [handled, onMessage] : handlers_.messages) {
    if (handled == message) onMessage(wparam, lparam);
  }
  switch (message) {
    case WM_CREATE:
      return OnCreate();
    case WM_DESTROY:
      return OnDestroy();
    case WM_NCDESTROY:
      SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
      window_ = nullptr;
      return;
    case WM_SIZE:
      return LayOut();
    case WM_CLOSE:  // DefWindowProcW destroys the window
      return;
    case WM_GETMINMAXINFO:
      return OnGetMinMaxInfo(*reinterpret_cast<MINMAXINFO*>(lparam));
    case WM_COMMAND:
      return OnCommand(LOWORD(wparam));
    case WM_SYSCOMMAND:
      return OnCommand(CommandOfSystemMenu(wparam));
    case WM_DPICHANGED:
      return OnDpiChanged(*reinterpret_cast<const RECT*>(lparam));
    default:
      return;
  }
}

void MainWindow::OnCreate() {
  AddSystemMenuItems(window_, GetUserDefaultUILanguage());
  panel_.emplace(window_, instance_, log_.Text());
  log_.SetPanel(&*panel_);
  if (const HICON icon = LoadProgramIcon(instance_)) {
    SendMessageW(window_, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
    SendMessageW(window_, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
  }
}

void MainWindow::OnDestroy() {
  log_.SetPanel(nullptr);
  panel_.reset();
  PostQuitMessage(0);
}

void MainWindow::OnCommand(WORD command) {
  if (command == kToggleLogPanelCommand) ToggleLogPanel();
  if (command == kReloadCommand) handlers_.reload();
  if (command == kCheckForUpdatesCommand) handlers_.checkForUpdates();
}

void MainWindow::ToggleLogPanel() {
  if (!panel_) return;  // the window is going
  const bool isVisible = !panel_->IsVisible();
  panel_->SetVisible(isVisible);
  TickShowLog(window_, isVisible);
  LayOut();
  log_.Line(std::string("[Log] log panel ") + (isVisible ? "shown" : "hidden") + " (Ctrl+L)");
}

void MainWindow::LayOut() {
  RECT client{};
  GetClientRect(window_, &client);
  const bool panelIsVisible = panel_ && panel_->IsVisible();
  const ClientLayout layout = LayOutClient(client.right, client.bottom, panelIsVisible);
  handlers_.placePage(ToRect(layout.page));
  if (panel_) panel_->Move(layout.panel);
}

void MainWindow::OnGetMinMaxInfo(MINMAXINFO& info) const {
  // Deliberate: while the window is being made, the scale is 1, so that its first size is the same
  // at every DPI.
  const Size size = MinimumWindowSize(isCreated_ ? GetDpiForWindow(window_) : 0);
  info.ptMinTrackSize = {size.width, size.height};
}

void MainWindow::OnDpiChanged(const RECT& suggested) {
  SetWindowPos(window_, nullptr, suggested.left, suggested.top, suggested.right - suggested.left,
               suggested.bottom - suggested.top, SWP_NOZORDER | SWP_NOACTIVATE);
  LayOut();
}

}  // namespace wendra
