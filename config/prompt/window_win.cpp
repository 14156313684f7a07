#include "config/prompt/window_win.h"

#include <utility>

#include "config/prompt/paint_win.h"
#include "config/server_address.h"
#include "win/registry_key.h"
#include "win/wide.h"
#include "win/window_class.h"

#include <commctrl.h>
#include <dwmapi.h>
#include <uxtheme.h>

namespace wendra {
namespace {

constexpr wchar_t kWindowClass[] = L"WendraServerPrompt";

constexpr int kFieldId = 200;
constexpr int kAcceptId = 201;
constexpr int kCancelId = 202;

constexpr int kFieldTextLimit = 2048;  // characters
constexpr int kFieldMargin = 10;       // in pixels at 96 DPI
constexpr int kCornerSize = 8;         // in pixels at 96 DPI

Font MakeFont(int percent, int height, int weight) {
  return Font(CreateFontW(-ScaleByPercent(height, percent), 0, 0, 0, weight, FALSE, FALSE, FALSE,
                          DEFAULT_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                          CLEARTYPE_QUALITY, DEFAULT_PITCH | FF_DONTCARE, L"Segoe UI"));
}

void RegisterWindowClass(HINSTANCE instance, WNDPROC procedure) {
  WNDCLASSEXW windowClass = MakeWindowClass(instance, kWindowClass, procedure);
  windowClass.style = CS_DROPSHADOW;
  windowClass.hIcon = LoadProgramIcon(instance);
  (void)RegisterClassExW(&windowClass);  // fails the second time: the class exists already
}

// The position that puts a window of this size into the middle of the work area of the monitor with
// the mouse pointer.
POINT CenteredPosition(int width, int height) {
  POINT pointer{};
  GetCursorPos(&pointer);
  MONITORINFO monitor{};
  monitor.cbSize = sizeof(monitor);
  GetMonitorInfoW(MonitorFromPoint(pointer, MONITOR_DEFAULTTONEAREST), &monitor);
  const RECT& work = monitor.rcWork;
  return {work.left + (work.right - work.left - width) / 2,
          work.top + (work.bottom - work.top - height) / 2};
}

Rgb ReadAccentColor() {
  return AccentColor(UserValueBytes(L"Software\\Microsoft\\Windows\\DWM", L"AccentColor"));
}

std::string TextOf(HWND control) {
  std::wstring text(static_cast<size_t>(GetWindowTextLengthW(control)) + 1, L'\0');
  const int units = GetWindowTextW(control, text.data(), static_cast<int>(text.size()));
  return Narrow(std::wstring_view(text).substr(0, static_cast<size_t>(units)));
}

int TextHeight(HDC dc, const std::string& text, const Font& font, int width) {
  const HGDIOBJ before = SelectObject(dc, font.Get());
  RECT box{0, 0, width, 0};
  const int height =
      DrawTextW(dc, Widen(text).c_str(), -1, &box, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
  SelectObject(dc, before);
  return height;
}

}  // namespace

PromptWindow::PromptWindow(HINSTANCE instance)
    : instance_(instance),
      percent_(PercentOfDpi(GetDpiForSystem())),
      text_(PromptTextFor(GetUserDefaultUILanguage())),
      accent_(ReadAccentColor()),
      fonts_{MakeFont(percent_, 20, FW_SEMIBOLD), MakeFont(percent_, 14, FW_NORMAL),
             MakeFont(percent_, 14, FW_SEMIBOLD), MakeFont(percent_, 13, FW_NORMAL)},
      background_(CreateSolidBrush(ToColorRef(kPromptBackground))),
      footer_(CreateSolidBrush(ToColorRef(kPromptFooter))) {
  layout_ = LayOutPrompt(percent_, MeasureTexts());
  RegisterWindowClass(instance, &PromptWindow::WindowProcedure);
  const POINT position = CenteredPosition(layout_.width, layout_.height);
  CreateWindowExW(WS_EX_APPWINDOW, kWindowClass, L"Wendra", WS_POPUP | WS_CLIPCHILDREN, position.x,
                  position.y, layout_.width, layout_.height, nullptr, nullptr, instance, this);
}

PromptWindow::~PromptWindow() {
  if (window_) DestroyWindow(window_);
}

void PromptWindow::Show() {
  ShowWindow(window_, SW_SHOW);
  SetForegroundWindow(window_);
  SetFocus(field_);
}

PromptTextHeights PromptWindow::MeasureTexts() const {
  const HDC dc = GetDC(nullptr);
  const int width = PromptTextWidth(percent_);
  const auto height = [&](const std::string& text, const Font& font) {
    return TextHeight(dc, text, font, width);
  };
  const PromptTextHeights heights{.title = height(text_.title, fonts_.title),
                                  .introduction = height(text_.introduction, fonts_.text),
                                  .label = height(text_.label, fonts_.label),
                                  .field = height("X", fonts_.text),
                                  .error = height(text_.error, fonts_.error)};
  ReleaseDC(nullptr, dc);
  return heights;
}

// The controls are made in the order of the Tab key. A screen reader uses the text that is made
// just before the field as the field's name.
void PromptWindow::MakeControls() {
  constexpr DWORD kText = SS_LEFT | SS_NOPREFIX;
  MakeControl(L"STATIC", text_.title, WS_VISIBLE | kText, 0, layout_.title, fonts_.title);
  MakeControl(L"STATIC", text_.introduction, WS_VISIBLE | kText, 0, layout_.introduction,
              fonts_.text);
  MakeControl(L"STATIC", text_.label, WS_VISIBLE | kText, 0, layout_.label, fonts_.label);
  MakeField();
  error_ = MakeControl(L"STATIC", text_.error, kText, 0, layout_.error, fonts_.error);
  MakeButton(text_.accept, kAcceptId, layout_.accept);
  MakeButton(text_.cancel, kCancelId, layout_.cancel);
}

HWND PromptWindow::MakeControl(const wchar_t* className, const std::string& text, DWORD style,
                               int id, const PromptBox& box, const Font& font) {
  const HWND control = CreateWindowExW(
      0, className, Widen(text).c_str(), WS_CHILD | style, box.left, box.top, box.Width(),
      box.Height(), window_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), instance_, nullptr);
  SendMessageW(control, WM_SETFONT, reinterpret_cast<WPARAM>(font.Get()), TRUE);
  return control;
}

void PromptWindow::MakeField() {
  field_ = MakeControl(L"EDIT", "", WS_VISIBLE | WS_TABSTOP | ES_AUTOHSCROLL, kFieldId,
                       layout_.field, fonts_.text);
  focus_ = field_;
  (void)SetWindowTheme(field_, L"", L"");  // OnPaint draws the frame around the field
  SendMessageW(field_, EM_LIMITTEXT, kFieldTextLimit, 0);
  const int margin = Scaled(kFieldMargin);
  SendMessageW(field_, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELPARAM(margin, margin));
  SetWindowTextW(field_, Widen(PromptExampleAddress()).c_str());
  SendMessageW(field_, EM_SETSEL, 0, -1);
}

void PromptWindow::MakeButton(const std::string& text, int id, const PromptBox& box) {
  const HWND button =
      MakeControl(L"BUTTON", text, WS_VISIBLE | WS_TABSTOP | BS_OWNERDRAW, id, box, fonts_.text);
  SetWindowSubclass(button, &PromptWindow::ButtonProcedure, 0, reinterpret_cast<DWORD_PTR>(this));
}

void PromptWindow::RoundCorners() {
  constexpr DWORD kCornerPreference = 33;  // DWMWA_WINDOW_CORNER_PREFERENCE, Windows 11
  constexpr DWORD kRound = 2;              // DWMWCP_ROUND
  if (SUCCEEDED(DwmSetWindowAttribute(window_, kCornerPreference, &kRound, sizeof(kRound)))) return;
  const int corner = Scaled(kCornerSize);
  // The system owns the region after this call.
  SetWindowRgn(window_,
               CreateRoundRectRgn(0, 0, layout_.width + 1, layout_.height + 1, corner, corner),
               FALSE);
}

LRESULT CALLBACK PromptWindow::WindowProcedure(HWND window, UINT message, WPARAM wparam,
                                               LPARAM lparam) {
  if (message == WM_NCCREATE) {
    const auto* creation = reinterpret_cast<const CREATESTRUCTW*>(lparam);
    auto* self = static_cast<PromptWindow*>(creation->lpCreateParams);
    self->window_ = window;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(self));
  }
  auto* self = reinterpret_cast<PromptWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (!self) return DefWindowProcW(window, message, wparam, lparam);
  return self->OnMessage(message, wparam, lparam);
}

LRESULT PromptWindow::OnMessage(UINT message, WPARAM wparam, LPARAM lparam) {
  switch (message) {
    case WM_CREATE:
      RoundCorners();
      MakeControls();
      return 0;
    case WM_COMMAND:
      OnCommand(LOWORD(wparam), HIWORD(wparam));
      return 0;
    case WM_ACTIVATE:
      if (LOWORD(wparam) == WA_INACTIVE) KeepFocus();
      return DefWindowProcW(window_, message, wparam, lparam);
    case WM_SETFOCUS:
      SetFocus(focus_);
      return 0;
    case WM_PAINT:
      OnPaint();
      return 0;
    case WM_ERASEBKGND:
      return 1;  // OnPaint fills the whole window
    case WM_DRAWITEM:
      OnDrawButton(*reinterpret_cast<const DRAWITEMSTRUCT*>(lparam));
      return TRUE;
    case WM_CTLCOLORSTATIC:
      return OnColorStatic(reinterpret_cast<HDC>(wparam), reinterpret_cast<HWND>(lparam));
    case WM_CTLCOLOREDIT:
      return reinterpret_cast<LRESULT>(background_.Get());
    case WM_DESTROY:
      PostQuitMessage(0);  // ends the message loop in WindowServerPrompt::Ask
      return 0;
    case WM_NCDESTROY: {
      const HWND window = window_;
      SetWindowLongPtrW(window, GWLP_USERDATA, 0);
      window_ = nullptr;
      return DefWindowProcW(window, message, wparam, lparam);
    }
    default:
      return DefWindowProcW(window_, message, wparam, lparam);
  }
}

void PromptWindow::OnCommand(WORD id, WORD notification) {
  if (id == kFieldId && (notification == EN_SETFOCUS || notification == EN_KILLFOCUS)) {
    return RepaintFrame();
  }
  if (id == IDOK || id == kAcceptId) return OnAccept();
  if (id == IDCANCEL || id == kCancelId) DestroyWindow(window_);
}

void PromptWindow::OnAccept() {
  const std::string url = ParseHttpUrl(NormalizeServerInput(TextOf(field_)));
  if (!url.empty() && IsAllowedServerUrl(url)) {
    result_ = url;
    DestroyWindow(window_);
    return;
  }
  hasError_ = true;
  ShowWindow(error_, SW_SHOW);
  RepaintFrame();
  SetFocus(field_);
}

// When the window becomes active again, Windows gives the focus to the window and not to the
// control that had it before. So the window remembers that control.
void PromptWindow::KeepFocus() {
  const HWND focus = GetFocus();
  if (IsChild(window_, focus)) focus_ = focus;
}

void PromptWindow::RepaintFrame() {
  const RECT frame = ToRect(layout_.frame);
  InvalidateRect(window_, &frame, FALSE);
}

void PromptWindow::OnPaint() {
  PAINTSTRUCT paint{};
  const HDC dc = BeginPaint(window_, &paint);
  const RECT all{0, 0, layout_.width, layout_.height};
  FillRect(dc, &all, background_.Get());
  const RECT footer = ToRect(layout_.footer);
  FillRect(dc, &footer, footer_.Get());
  DrawRounded(dc, ToRect(layout_.frame), kPromptBackground,
              FrameColor(hasError_, GetFocus() == field_, accent_), percent_);
  EndPaint(window_, &paint);
}

void PromptWindow::OnDrawButton(const DRAWITEMSTRUCT& item) {
  const bool isAccept = item.CtlID == kAcceptId;
  const bool isPressed = (item.itemState & ODS_SELECTED) != 0;
  const ButtonLook look{
      .colors = isAccept ? AcceptButtonColors(accent_)
                         : CancelButtonColors(hovered_ == item.hwndItem, isPressed),
      .hasFocus = (item.itemState & ODS_FOCUS) != 0,
  };
  const std::wstring label = Widen(isAccept ? text_.accept : text_.cancel);
  DrawButton(item.hDC, item.rcItem, label.c_str(), fonts_.text.Get(), look, percent_);
}

LRESULT PromptWindow::OnColorStatic(HDC dc, HWND control) {
  SetTextColor(dc, ToColorRef(control == error_ ? kPromptError : kPromptInk));
  SetBkColor(dc, ToColorRef(kPromptBackground));
  return reinterpret_cast<LRESULT>(background_.Get());
}

LRESULT CALLBACK PromptWindow::ButtonProcedure(HWND button, UINT message, WPARAM wparam,
                                               LPARAM lparam, UINT_PTR, DWORD_PTR self) {
  auto* prompt = reinterpret_cast<PromptWindow*>(self);
  if (message == WM_MOUSEMOVE) prompt->OnHover(button, true);
  if (message == WM_MOUSELEAVE) prompt->OnHover(button, false);
  return DefSubclassProc(button, message, wparam, lparam);
}

void PromptWindow::OnHover(HWND button, bool isHovered) {
  if (isHovered == (hovered_ == button)) return;
  if (isHovered) {
    TRACKMOUSEEVENT leave{sizeof(leave), TME_LEAVE, button, 0};
    TrackMouseEvent(&leave);
  }
  // The mouse may enter the next button before the last one gets WM_MOUSELEAVE.
  const HWND left = std::exchange(hovered_, isHovered ? button : nullptr);
  for (const HWND changed : {left, hovered_}) {
    if (changed) InvalidateRect(changed, nullptr, FALSE);
  }
}

}  // namespace wendra
