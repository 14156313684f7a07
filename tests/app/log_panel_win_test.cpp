#include "app/log_panel_win.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/test_window_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

// A log, and a panel in a test window that shows it.
class LogPanelTest : public testing::Test {
 protected:
  void Add(const std::string& line) {
    log_ += line + "\r\n";
    panel_.OnLogGrown();
  }
  HWND Edit() { return GetDlgItem(window_.Handle(), 2); }
  std::string Shown() {
    std::wstring text(static_cast<size_t>(SendMessageW(Edit(), WM_GETTEXTLENGTH, 0, 0)) + 1, L'\0');
    text.resize(static_cast<size_t>(
        SendMessageW(Edit(), WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return Narrow(text);
  }
  std::pair<DWORD, DWORD> Selection() {
    DWORD start = 0;
    DWORD end = 0;
    SendMessageW(Edit(), EM_GETSEL, reinterpret_cast<WPARAM>(&start),
                 reinterpret_cast<LPARAM>(&end));
    return {start, end};
  }

  // The number of lines according to the scroll bar. Sends no message to the control, because every
  // message makes the panel take over new text.
  int LinesToScroll() {
    SCROLLINFO info{};
    info.cbSize = sizeof(info);
    info.fMask = SIF_RANGE;
    GetScrollInfo(Edit(), SB_VERT, &info);
    return info.nMax + 1;
  }

  TestWindow window_;
  std::string log_;
  LogPanel panel_{window_.Handle(), GetModuleHandleW(nullptr), log_};
};

TEST_F(LogPanelTest, IsAHiddenReadOnlyMultiLineEdit) {
  wchar_t className[16];
  GetClassNameW(Edit(), className, 16);
  EXPECT_STREQ(className, L"Edit");
  const auto style = static_cast<DWORD>(GetWindowLongPtrW(Edit(), GWL_STYLE));
  constexpr DWORD kWanted = WS_CHILD | WS_VSCROLL | ES_MULTILINE | ES_AUTOVSCROLL | ES_READONLY;
  EXPECT_EQ(style & kWanted, kWanted);
  EXPECT_EQ(style & (WS_BORDER | WS_VISIBLE), 0u);
  EXPECT_FALSE(panel_.IsVisible());
}

TEST_F(LogPanelTest, UsesNinePointConsolas) {
  LOGFONTW font{};
  const auto handle = reinterpret_cast<HFONT>(SendMessageW(Edit(), WM_GETFONT, 0, 0));
  ASSERT_NE(GetObjectW(handle, sizeof(font), &font), 0);
  EXPECT_STREQ(font.lfFaceName, L"Consolas");
  const HDC dc = GetDC(window_.Handle());
  EXPECT_EQ(font.lfHeight, -MulDiv(9, GetDeviceCaps(dc, LOGPIXELSY), 72));
  ReleaseDC(window_.Handle(), dc);
  EXPECT_EQ(font.lfWidth, 0);
  EXPECT_EQ(font.lfWeight, FW_NORMAL);
  EXPECT_EQ(font.lfItalic | font.lfUnderline | font.lfStrikeOut, 0);
  EXPECT_EQ(font.lfCharSet, DEFAULT_CHARSET);
  EXPECT_EQ(font.lfQuality, CLEARTYPE_QUALITY);
  EXPECT_EQ(font.lfPitchAndFamily & 3, FIXED_PITCH);
}

TEST_F(LogPanelTest, HoldsTheWholeLogAfterEveryLine) {
  for (int i = 0; i < 5; ++i) {
    Add("[Log] Zeile " + std::to_string(i) + " — äöü 日本 😀");
    EXPECT_EQ(Shown(), log_);
    EXPECT_EQ(Selection(), std::pair(static_cast<DWORD>(Widen(log_).size()),
                                     static_cast<DWORD>(Widen(log_).size())));
  }
}

TEST_F(LogPanelTest, ShowsEarlierLinesWithTheNextLine) {
  log_ = "early\r\n";
  EXPECT_EQ(Shown(), "");  // no line has been logged since
  Add("first");
  EXPECT_EQ(Shown(), "early\r\nfirst\r\n");
}

TEST_F(LogPanelTest, HoldsMoreThanTheControlsDefaultLimit) {
  while (log_.size() < 200'000) {
    Add(std::string(997, 'x'));
    if (log_.size() % 7 == 0) {
      ASSERT_EQ(Shown(), log_);
    }
  }
  EXPECT_EQ(Shown(), log_);
}

TEST_F(LogPanelTest, KeepsLineFeedsAndReplacesNul) {
  Add("two\nlines\r\n and a tab\t.");
  EXPECT_EQ(Shown(), log_);
  Add(std::string("zero\0inside", 11));
  Add("after");
  EXPECT_TRUE(Shown().ends_with("zero\xEF\xBF\xBDinside\r\nafter\r\n")) << Shown();
}

TEST_F(LogPanelTest, TakesOverNewLinesByItselfWhileVisible) {
  ShowWindow(window_.Handle(), SW_SHOW);
  panel_.SetVisible(true);
  EXPECT_TRUE(IsWindowVisible(Edit()));
  Add("first");
  ASSERT_EQ(Shown(), log_);
  TestWindow::Pump();
  const int linesBefore = LinesToScroll();
  Add("second");
  Add("third");
  EXPECT_EQ(LinesToScroll(), linesBefore);

  // No other message: only the panel's own timer reaches the control.
  MSG message{};
  ASSERT_TRUE(GetMessageW(&message, Edit(), WM_TIMER, WM_TIMER));
  DispatchMessageW(&message);
  EXPECT_EQ(LinesToScroll(), linesBefore + 2);

  panel_.SetVisible(false);
  EXPECT_FALSE(IsWindowVisible(Edit()));
}

TEST_F(LogPanelTest, MovesTheCaretToTheEndAfterTheUserHasSelectedText) {
  Add("select me");
  SendMessageW(Edit(), EM_SETSEL, 0, 3);
  Add("next");
  const auto end = static_cast<DWORD>(Widen(log_).size());
  EXPECT_EQ(Selection(), std::pair(end, end));
  EXPECT_EQ(Shown(), log_);
}

TEST_F(LogPanelTest, MovesToItsBox) {
  panel_.Move({0, 100, 300, 300});
  RECT rect{};
  GetClientRect(Edit(), &rect);
  // Not the right side: the scroll bar takes a part of the width.
  EXPECT_EQ(rect.bottom, 200);
  GetWindowRect(Edit(), &rect);
  MapWindowPoints(nullptr, window_.Handle(), reinterpret_cast<POINT*>(&rect), 2);
  EXPECT_EQ(rect.left, 0);
  EXPECT_EQ(rect.top, 100);
  EXPECT_EQ(rect.right, 300);
  EXPECT_EQ(rect.bottom, 300);
}

}  // namespace
}  // namespace wendra
