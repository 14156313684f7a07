#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/devruntime/test_control_win.h"

namespace wendra {
namespace {

constexpr char kField[] =
    "<input id=field style='display:block;width:300px;height:40px'>"
    "<input id=next style='display:block;width:300px;height:40px'>"
    "<script>window.keys = []; addEventListener('keydown', e => keys.push(e.key + '/' + e.code));"
    "window.clicks = []; addEventListener('click', e => clicks.push(e.detail));</script>";

class Input : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(control_.LoadBody(kField));
    control_.ClickElement("field");
    ASSERT_TRUE(control_.WaitFor("document.activeElement.id", "\"field\""));
  }

  // Posts the messages of a key that goes down and up.
  void Press(WPARAM virtualKey) {
    const UINT scanCode = MapVirtualKeyW(static_cast<UINT>(virtualKey), MAPVK_VK_TO_VSC);
    const LPARAM down = 1 | static_cast<LPARAM>(scanCode) << 16;
    PostMessageW(control_.PageWindow(), WM_KEYDOWN, virtualKey, down);
    PostMessageW(control_.PageWindow(), WM_KEYUP, virtualKey,
                 static_cast<LPARAM>(static_cast<UINT>(down) | 0xC0000000u));
  }
  void Type(const std::wstring& text) {
    for (const wchar_t unit : text) PostMessageW(control_.PageWindow(), WM_CHAR, unit, 1);
  }
  bool FieldBecomes(const std::string& json) {
    return control_.WaitFor("document.getElementById('field').value", json);
  }

  TestControl control_;
};

TEST_F(Input, AnyCharacterArrives) {
  Type(L"a \u00e4\u00f6\u00fc\u00df \u20ac \u65e5 \U0001f600");
  EXPECT_TRUE(
      FieldBecomes("\"a \xc3\xa4\xc3\xb6\xc3\xbc\xc3\x9f \xe2\x82\xac \xe6\x97\xa5 "
                   "\xf0\x9f\x98\x80\""));
}

TEST_F(Input, KeysTypeAndReportTheirNames) {
  Press('H');
  Press('7');
  EXPECT_TRUE(FieldBecomes("\"h7\""));
  EXPECT_EQ(control_.Evaluate("keys"), R"(["h/KeyH","7/Digit7"])");
}

TEST_F(Input, EditingKeysEdit) {
  Type(L"abc");
  Press(VK_LEFT);
  Press(VK_BACK);
  EXPECT_TRUE(FieldBecomes("\"ac\""));
  Press(VK_HOME);
  Press(VK_DELETE);
  EXPECT_TRUE(FieldBecomes("\"c\""));
}

TEST_F(Input, TabMovesTheFocus) {
  Press(VK_TAB);
  EXPECT_TRUE(control_.WaitFor("document.activeElement.id", "\"next\""));
}

// The page has two fields; the first has the focus.
TEST_F(Input, TabPastTheLastElementGoesRound) {
  Press(VK_TAB);
  ASSERT_TRUE(control_.WaitFor("document.activeElement.id", "\"next\""));
  Press(VK_TAB);
  EXPECT_TRUE(control_.WaitFor("document.activeElement.id", "\"field\""));
}

TEST_F(Input, TabPastTheLastElementAsksTheHost) {
  std::vector<COREWEBVIEW2_MOVE_FOCUS_REASON> reasons;
  const auto handler = MakeHandler<MoveFocusHandler>([&](auto, auto* args) {
    COREWEBVIEW2_MOVE_FOCUS_REASON reason{};
    args->get_Reason(&reason);
    reasons.push_back(reason);
    args->put_Handled(TRUE);
  });
  EventRegistrationToken token{};
  ASSERT_EQ(control_.Controller().add_MoveFocusRequested(handler.Get(), &token), S_OK);
  Press(VK_TAB);
  Press(VK_TAB);
  ASSERT_TRUE(PumpUntil([&] { return !reasons.empty(); }));
  EXPECT_EQ(reasons, std::vector{COREWEBVIEW2_MOVE_FOCUS_REASON_NEXT});
  EXPECT_EQ(control_.Evaluate("document.hasFocus()"), "false");
  ASSERT_EQ(control_.Controller().MoveFocus(COREWEBVIEW2_MOVE_FOCUS_REASON_PREVIOUS), S_OK);
  EXPECT_TRUE(control_.WaitFor("document.activeElement.id", "\"next\""));
  EXPECT_EQ(control_.Controller().remove_MoveFocusRequested(token), S_OK);
}

TEST_F(Input, TabPastTheLastElementGoesToTheHostsNextTabStop) {
  const HWND button = CreateWindowExW(0, L"BUTTON", L"", WS_CHILD | WS_VISIBLE | WS_TABSTOP, 0, 0,
                                      10, 10, control_.Window(), nullptr, nullptr, nullptr);
  Press(VK_TAB);
  Press(VK_TAB);
  EXPECT_TRUE(PumpUntil([&] { return GetFocus() == button; }));
  DestroyWindow(button);
}

TEST_F(Input, EnterSubmitsTheForm) {
  ASSERT_TRUE(
      control_.LoadBody("<form action='/submitted'><input id=field name=q autofocus></form>"));
  control_.ClickElement("field");
  ASSERT_TRUE(control_.WaitFor("document.activeElement.id", "\"field\""));
  Type(L"x");
  Press(VK_RETURN);
  ASSERT_TRUE(PumpUntil([&] { return control_.navigations.size() == 3; }));
  EXPECT_EQ(control_.navigations[2].uri, Url("/submitted?q=x"));
  EXPECT_TRUE(control_.navigations[2].userInitiated);
}

TEST_F(Input, TwoQuickClicksAreADoubleClick) {
  control_.Click(200, 200);
  control_.Click(200, 200);
  EXPECT_TRUE(control_.WaitFor("clicks.slice(-2)", "[1,2]"));
}

TEST_F(Input, WheelScrolls) {
  ASSERT_TRUE(control_.LoadBody("<div style='height:5000px'></div>"));
  POINT at{100, 100};
  ClientToScreen(control_.PageWindow(), &at);
  PostMessageW(control_.PageWindow(), WM_MOUSEWHEEL, MAKEWPARAM(0, -WHEEL_DELTA),
               MAKELPARAM(at.x, at.y));
  EXPECT_TRUE(control_.WaitFor("scrollY", "100"));
}

TEST_F(Input, FocusOfThePageIsFocusOfItsWindow) {
  SetFocus(control_.Window());
  ASSERT_EQ(control_.Controller().MoveFocus(COREWEBVIEW2_MOVE_FOCUS_REASON_PROGRAMMATIC), S_OK);
  const auto focused = [&] {
    GUITHREADINFO info{};
    info.cbSize = sizeof info;
    GetGUIThreadInfo(GetWindowThreadProcessId(control_.PageWindow(), nullptr), &info);
    return info.hwndFocus == control_.PageWindow();
  };
  EXPECT_TRUE(PumpUntil(focused, 5'000));
  EXPECT_EQ(control_.Evaluate("document.hasFocus()"), "true");
}

}  // namespace
}  // namespace wendra
