#include "app/main_window_win.h"

#include <iterator>
#include <memory>
#include <string>
#include <utility>

#include "app/layout.h"
#include "bridge/exec_win.h"
#include "mcp/server.h"
#include "win/messages.h"
#include "win/owned_message.h"

namespace wendra {
namespace {

constexpr wchar_t kWindowClass[] = L"WendraHostWnd";
constexpr int kWidthPx = 1260;
constexpr int kHeightPx = 900;
constexpr int kIconId = 1;

constexpr WORD kToggleLogPanelCommand = 100;
constexpr WORD kReloadCommand = 101;
constexpr WORD kCheckForUpdatesCommand = 102;

// The page asks again for what it shows of the configuration; the event carries nothing.
constexpr char kConfigChangedScript[] =
    "document.dispatchEvent(new CustomEvent('mcpConfigChanged'));";

HICON LoadProgramIcon(HINSTANCE instance) {
  return static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(kIconId), IMAGE_ICON, 0, 0,
                                       LR_DEFAULTSIZE | LR_SHARED));
}

void RegisterWindowClass(HINSTANCE instance, WNDPROC procedure) {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = instance;
  windowClass.hIcon = LoadProgramIcon(instance);
  windowClass.hIconSm = windowClass.hIcon;
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.lpszClassName = kWindowClass;  // no background: page and panel cover it all
  (void)RegisterClassExW(&windowClass);      // without the class there is no window, which is seen
}

RECT ToRect(const Box& box) { return {box.left, box.top, box.right, box.bottom}; }

}  // namespace

MainWindow::MainWindow(HINSTANCE instance, WindowLog& log, McpClient& mcp, PageHost& page,
                       Replies& replies, FolderPicker& folderPicker,
                       std::function<void()> checkForUpdates)
    : instance_(instance),
      log_(log),
      mcp_(mcp),
      page_(page),
      replies_(replies),
      folderPicker_(folderPicker),
      checkForUpdates_(std::move(checkForUpdates)) {
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
  if (self) self->OnMessage(message, wparam, lparam);
  return DefWindowProcW(window, message, wparam, lparam);
}

void MainWindow::OnMessage(UINT message, WPARAM wparam, LPARAM lparam) {
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
    case WM_TIMER:
      return OnTimer(wparam);
    case WM_DPICHANGED:
      return OnDpiChanged(*reinterpret_cast<const RECT*>(lparam));
    case kCreateWebViewMessage:
      return OnCreateWebView();
    case kLogLineMessage: {
      const auto line = TakeOwned<std::string>(lparam);
      return log_.Line(*line);
    }
    case kExecDoneMessage: {
      const auto result = TakeOwned<ExecResult>(lparam);
      return ReplyExec(std::move(*result), replies_);
    }
    case kMcpMessage: {
      auto text = TakeOwned<std::string>(lparam);
      return mcp_.OnMessage(*reinterpret_cast<McpServer*>(wparam), std::move(text));
    }
    case kMcpClosedMessage:
      return mcp_.OnClosed(*reinterpret_cast<McpServer*>(wparam));
    case kHttpPostedMessage:
      return mcp_.OnHttpPosted();
    case kPickDirectoryMessage:
      return folderPicker_.ShowDialogs();
    default:
      return;
  }
}

void MainWindow::OnCreate() {
  log_.SetWindow(window_);
  mcp_.Start(window_);
  panel_.emplace(window_, instance_, log_.Text());
  log_.SetPanel(&*panel_);
  if (const HICON icon = LoadProgramIcon(instance_)) {
    SendMessageW(window_, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
    SendMessageW(window_, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
  }
  (void)SetTimer(window_, kConfigWatchTimer, kConfigWatchPeriodMs, nullptr);
}

void MainWindow::OnDestroy() {
  mcp_.Stop();
  log_.SetWindow(nullptr);
  page_.Close();  // while its parent still exists
  log_.SetPanel(nullptr);
  panel_.reset();
  PostQuitMessage(0);
}

// Any program may post that message too; there is one control all the same.
void MainWindow::OnCreateWebView() {
  if (!std::exchange(hasWebView_, true)) page_.Create(window_);
}

void MainWindow::OnCommand(WORD command) {
  if (command == kToggleLogPanelCommand) ToggleLogPanel();
  if (command == kReloadCommand) page_.Reload();
  if (command == kCheckForUpdatesCommand) checkForUpdates_();
}

void MainWindow::ToggleLogPanel() {
  if (!panel_) return;  // the window is going
  const bool isVisible = !panel_->IsVisible();
  panel_->SetVisible(isVisible);
  LayOut();
  log_.Line(std::string("[Log] log panel ") + (isVisible ? "shown" : "hidden") + " (Ctrl+L)");
}

void MainWindow::LayOut() {
  RECT client{};
  GetClientRect(window_, &client);
  const bool panelIsVisible = panel_ && panel_->IsVisible();
  const ClientLayout layout = LayOutClient(client.right, client.bottom, panelIsVisible);
  page_.SetBounds(ToRect(layout.page));
  if (panel_) panel_->Move(layout.panel);
}

void MainWindow::OnGetMinMaxInfo(MINMAXINFO& info) const {
  // While the window is being made the scale counts as 1, so that it starts with its own size
  // whatever the DPI.
  const Size size = MinimumWindowSize(isCreated_ ? GetDpiForWindow(window_) : 0);
  info.ptMinTrackSize = {size.width, size.height};
}

void MainWindow::OnDpiChanged(const RECT& suggested) {
  SetWindowPos(window_, nullptr, suggested.left, suggested.top, suggested.right - suggested.left,
               suggested.bottom - suggested.top, SWP_NOZORDER | SWP_NOACTIVATE);
  LayOut();
}

void MainWindow::OnTimer(UINT_PTR timer) {
  if (timer == kReplyDeadlineTimer) return page_.DropLateReplies();
  if (timer != kConfigWatchTimer) return mcp_.OnTimer(timer);
  if (mcp_.CheckMcpConfigChanged()) page_.Run(kConfigChangedScript);
}

}  // namespace wendra
