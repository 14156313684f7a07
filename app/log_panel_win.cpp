#include "app/log_panel_win.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "win/wide.h"

#include <commctrl.h>

namespace wendra {
namespace {

constexpr int kControlId = 2;

// Short enough that the user sees no delay; a burst of lines costs one update.
constexpr UINT_PTR kFollowTimer = 1;
constexpr UINT kFollowDelayMs = 50;

// Consolas, 9 points at the present DPI. The font stays when the DPI changes.
Font MakeFont(HWND window) {
  constexpr int kPoints = 9;
  const HDC dc = GetDC(window);
  const int height = -MulDiv(kPoints, GetDeviceCaps(dc, LOGPIXELSY), 72);
  ReleaseDC(window, dc);
  return Font(CreateFontW(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                          OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, CLEARTYPE_QUALITY, FIXED_PITCH,
                          L"Consolas"));
}

// The control's text ends at a NUL, but a line may hold one.
std::wstring PanelText(std::string_view log) {
  std::wstring text = Widen(log);
  std::ranges::replace(text, L'\0', L'\uFFFD');
  return text;
}

}  // namespace

LogPanel::LogPanel(HWND parent, HINSTANCE instance, const std::string& logText)
    : logText_(logText), font_(MakeFont(parent)) {
  constexpr DWORD kStyle = WS_CHILD | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY;
  edit_ =
      CreateWindowExW(0, L"EDIT", L"", kStyle, 0, 0, 0, 0, parent,
                      reinterpret_cast<HMENU>(static_cast<INT_PTR>(kControlId)), instance, nullptr);
  SendMessageW(edit_, WM_SETFONT, reinterpret_cast<WPARAM>(font_.Get()), TRUE);
  // By default EM_REPLACESEL appends nothing beyond 30,000 characters, and reports no error.
  SendMessageW(edit_, EM_SETLIMITTEXT, 0, 0);
  SetWindowSubclass(edit_, &LogPanel::OnMessage, 0, reinterpret_cast<DWORD_PTR>(this));
  ShowWindow(edit_, SW_HIDE);
}

LogPanel::~LogPanel() { RemoveWindowSubclass(edit_, &LogPanel::OnMessage, 0); }

void LogPanel::OnLogGrown() {
  const bool wasStale = std::exchange(isStale_, true);
  if (!edit_) return;  // the system made no control
  if (isVisible_ && !wasStale) SetTimer(edit_, kFollowTimer, kFollowDelayMs, nullptr);
}

void LogPanel::SetVisible(bool isVisible) {
  isVisible_ = isVisible;
  ShowWindow(edit_, isVisible ? SW_SHOW : SW_HIDE);
}

void LogPanel::Move(const Box& box) {
  MoveWindow(edit_, box.left, box.top, box.right - box.left, box.bottom - box.top, TRUE);
}

LRESULT CALLBACK LogPanel::OnMessage(HWND window, UINT message, WPARAM wparam, LPARAM lparam,
                                     UINT_PTR, DWORD_PTR self) {
  if (message != WM_DESTROY && message != WM_NCDESTROY) {
    reinterpret_cast<LogPanel*>(self)->TakeOverNewText();
  }
  if (message == WM_TIMER && wparam == kFollowTimer) {
    KillTimer(window, kFollowTimer);
    return 0;
  }
  return DefSubclassProc(window, message, wparam, lparam);
}

void LogPanel::TakeOverNewText() {
  // Cleared first: the messages below reach this function again.
  if (!std::exchange(isStale_, false)) return;
  const std::wstring text = PanelText(std::string_view(logText_).substr(shownBytes_));
  if (std::exchange(shownBytes_, logText_.size()) == 0) {
    SetWindowTextW(edit_, text.c_str());
    MoveCaretToEnd();
  } else {
    MoveCaretToEnd();  // the user may have put it elsewhere
    SendMessageW(edit_, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(text.c_str()));
  }
  SendMessageW(edit_, EM_SCROLLCARET, 0, 0);
}

void LogPanel::MoveCaretToEnd() {
  const auto end = static_cast<WPARAM>(GetWindowTextLengthW(edit_));
  SendMessageW(edit_, EM_SETSEL, end, static_cast<LPARAM>(end));
}

}  // namespace wendra
