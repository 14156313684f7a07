#include <string>

#include <gtest/gtest.h>

#include "tests/devruntime/test_control_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr int kOperationCanceled = 14;
constexpr int kConnectionAborted = 9;

std::string Link(const std::string& address, const std::string& more = {}) {
  return "<a id=link href='" + address + "' " + more +
         " style='display:block;height:80px'>link</a>";
}

TEST(NavigationStarting, OfTheHostIsUserInitiated) {
  TestControl control;
  ASSERT_TRUE(control.Load(Url("/start")));
  ASSERT_EQ(control.navigations.size(), 1u);
  EXPECT_EQ(control.navigations[0].uri, Url("/start"));
  EXPECT_TRUE(control.navigations[0].userInitiated);
  EXPECT_FALSE(control.navigations[0].redirected);
  EXPECT_EQ(control.completions[0].id, control.navigations[0].id);
  LPWSTR source = nullptr;
  ASSERT_EQ(control.View().get_Source(&source), S_OK);
  EXPECT_EQ(NarrowAndFree(source), Url("/start"));
}

TEST(NavigationStarting, OfTheHostNeedNotBeUserInitiated) {
  const ScopedVariable variable(L"WENDRA_DEV_API_USER_INITIATED", L"0");
  TestControl control;
  ASSERT_TRUE(control.Load(Url("/start")));
  EXPECT_FALSE(control.navigations[0].userInitiated);
}

TEST(NavigationStarting, OfAReloadByTheHostIsUserInitiated) {
  TestControl control;
  ASSERT_TRUE(control.Load(Url("/start")));
  control.View().Reload();
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  ASSERT_EQ(control.navigations.size(), 2u);
  EXPECT_TRUE(control.navigations[1].userInitiated);
  EXPECT_GT(control.navigations[1].id, control.navigations[0].id);
}

TEST(NavigationStarting, OfAClickedLinkIsUserInitiated) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody(Link("/clicked#part")));
  control.ClickElement("link");
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  EXPECT_EQ(control.navigations[1].uri, Url("/clicked#part"));
  EXPECT_TRUE(control.navigations[1].userInitiated);
}

TEST(NavigationStarting, OfAScriptIsNotUserInitiated) {
  const char* const scripts[] = {"location.href = '/by-script'", "location.reload()",
                                 "document.getElementById('link').click()"};
  for (const char* script : scripts) {
    TestControl control;
    ASSERT_TRUE(control.LoadBody(Link("/by-script")));
    control.Evaluate(script);
    ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; })) << script;
    EXPECT_FALSE(control.navigations[1].userInitiated) << script;
  }
}

TEST(NavigationStarting, OfAScriptInAClickHandlerIsUserInitiated) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("<button id=link onclick=\"location.href='/handler'\">go</button>"));
  control.ClickElement("link");
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  EXPECT_TRUE(control.navigations[1].userInitiated);
}

TEST(NavigationStarting, OfHistoryIsNotUserInitiated) {
  TestControl control;
  ASSERT_TRUE(control.Load(Url("/one")));
  ASSERT_TRUE(control.Load(Url("/two")));
  control.Evaluate("history.back()");
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 3; }));
  EXPECT_EQ(control.navigations[2].uri, Url("/one"));
  EXPECT_FALSE(control.navigations[2].userInitiated);
}

TEST(NavigationStarting, IsRaisedAgainForARedirectWithTheSameId) {
  for (const bool keeps : {false, true}) {
    const ScopedVariable variable(L"WENDRA_DEV_REDIRECT_GESTURE", keeps ? L"1" : L"0");
    TestControl control;
    ASSERT_TRUE(control.LoadBody(Link("/redirect?to=/landed")));
    control.ClickElement("link");
    ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
    ASSERT_EQ(control.navigations.size(), 3u);
    EXPECT_FALSE(control.navigations[1].redirected);
    EXPECT_TRUE(control.navigations[1].userInitiated);
    EXPECT_TRUE(control.navigations[2].redirected);
    EXPECT_EQ(control.navigations[2].userInitiated, keeps);
    EXPECT_EQ(control.navigations[2].uri, Url("/landed"));
    EXPECT_EQ(control.navigations[2].id, control.navigations[1].id);
    EXPECT_EQ(control.completions[1].id, control.navigations[1].id);
  }
}

TEST(NavigationStarting, CancelledSendsNoRequestAndKeepsThePage) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody(Link("/cancelled") + "<p id=here>"));
  const int before = RequestsFor("/cancelled");
  control.cancel = [](const SeenNavigation&) { return true; };
  control.ClickElement("link");
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  EXPECT_FALSE(control.completions[1].success);
  EXPECT_EQ(control.completions[1].error, kOperationCanceled);
  EXPECT_EQ(RequestsFor("/cancelled"), before);
  EXPECT_EQ(control.Evaluate("document.getElementById('here') !== null"), "true");
  // The next navigation succeeds. It needs another address: while the browser takes the first
  // navigation to be under way, it ignores a second click with the same address.
  control.cancel = nullptr;
  control.Evaluate("document.getElementById('link').href = '/allowed'");
  control.ClickElement("link");
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 3; }));
  EXPECT_TRUE(control.completions[2].success);
  EXPECT_EQ(control.navigations[2].uri, Url("/allowed"));
}

TEST(NavigationStarting, CancelledRedirectIsNotFollowed) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody(Link("/redirect?to=/never")));
  const int before = RequestsFor("/never");
  control.cancel = [](const SeenNavigation& seen) { return seen.redirected; };
  control.ClickElement("link");
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  EXPECT_FALSE(control.completions[1].success);
  EXPECT_EQ(RequestsFor("/never"), before);
}

TEST(NavigationStarting, IsNotRaisedWithinADocument) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody(Link("#part")));
  control.ClickElement("link");
  ASSERT_TRUE(control.WaitFor("location.hash", "\"#part\""));
  control.Evaluate("history.pushState(0, '', '/pushed')");
  control.View().Navigate(Widen(Url("/pushed#other")).c_str());
  ASSERT_TRUE(control.WaitFor("location.hash", "\"#other\""));
  EXPECT_EQ(control.navigations.size(), 1u);
  LPWSTR source = nullptr;
  control.View().get_Source(&source);
  EXPECT_EQ(NarrowAndFree(source), Url("/pushed#other"));
}

TEST(NavigationStarting, CanBeRaisedForAFragment) {
  const ScopedVariable variable(L"WENDRA_DEV_FRAGMENT_STARTING", L"1");
  TestControl control;
  ASSERT_TRUE(control.LoadBody(Link("#part")));
  control.ClickElement("link");
  ASSERT_TRUE(PumpUntil([&] { return control.navigations.size() == 2; }));
  EXPECT_EQ(control.Evaluate("1"), "1");  // scripts do not wait for a new document
}

TEST(NavigationStarting, IsNotRaisedForFramesInsideThePage) {
  TestControl control;
  const int inner = RequestsFor("/inner2");
  const int foreign = RequestsFor("/foreign");
  const std::string frames = "<iframe id=inner src='/inner'></iframe><iframe src='" +
                             Url("/foreign", "other.test") + "'></iframe>";
  ASSERT_TRUE(control.LoadBody(frames));
  control.Evaluate("document.getElementById('inner').contentWindow.location = '/inner2'");
  ASSERT_TRUE(PumpUntil([&] { return RequestsFor("/inner2") > inner; }));
  EXPECT_GT(RequestsFor("/foreign"), foreign);
  EXPECT_EQ(control.navigations.size(), 1u);
}

TEST(NavigationStarting, IsRaisedForAddressesWithoutARequest) {
  const struct {
    const char* address;
    bool commits;
  } rows[] = {{"about:blank", true}, {"mailto:a@b.test", false}, {"unknown:thing", false}};
  for (const auto& row : rows) {
    TestControl control;
    ASSERT_TRUE(control.LoadBody(Link(row.address)));
    control.ClickElement("link");
    ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; })) << row.address;
    EXPECT_EQ(control.navigations[1].uri, row.address);
    EXPECT_TRUE(control.navigations[1].userInitiated) << row.address;
    EXPECT_EQ(control.completions[1].success, row.commits) << row.address;
  }
}

TEST(NavigationStarting, ComesBeforeTheMessagesOfTheNewDocument) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("<script>chrome.webview.postMessage(1)</script>"));
  EXPECT_EQ(control.order, (std::vector<std::string>{"starting", "message", "completed"}));
}

TEST(Navigate, RefusesAnAddressWithoutScheme) {
  TestControl control;
  for (const wchar_t* address : {L"", L"no scheme", L"/path", L":x", L"1a:x"}) {
    EXPECT_EQ(control.View().Navigate(address), E_INVALIDARG) << Narrow(address);
  }
  PumpPending();
  EXPECT_TRUE(control.navigations.empty());
}

TEST(Navigate, NewerNavigationEndsAnOlderOne) {
  TestControl control;
  const int before = RequestsFor("/hang");
  control.View().Navigate(Widen(Url("/hang")).c_str());
  ASSERT_TRUE(PumpUntil([&] { return RequestsFor("/hang") > before; }));
  control.View().Navigate(Widen(Url("/instead")).c_str());
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  EXPECT_EQ(control.completions[0].id, control.navigations[0].id);
  EXPECT_EQ(control.completions[0].error, kConnectionAborted);
  EXPECT_FALSE(control.completions[0].success);
  EXPECT_TRUE(control.completions[1].success);
}

TEST(Navigate, FailureIsReported) {
  TestControl control;
  EXPECT_FALSE(control.Load("http://127.0.0.1:9/"));
  EXPECT_FALSE(control.completions.back().success);
  ASSERT_TRUE(control.Load(Url("/again")));
}

TEST(NewWindow, IsRequestedAndNeverOpened) {
  const struct {
    const char* why;
    std::string body;
    UINT message;
    WPARAM keys;
    bool userInitiated;
  } rows[] = {
      {"target", Link("/window", "target=_blank"), WM_LBUTTONDOWN, 0, true},
      {"Ctrl", Link("/window"), WM_LBUTTONDOWN, MK_CONTROL, true},
      {"Shift", Link("/window"), WM_LBUTTONDOWN, MK_SHIFT, true},
      {"middle button", Link("/window"), WM_MBUTTONDOWN, 0, true},
      {"script with a gesture", "<button id=link onclick=\"window.open('/window')\">x</button>",
       WM_LBUTTONDOWN, 0, true},
  };
  const int before = RequestsFor("/window");
  for (const auto& row : rows) {
    TestControl control;
    ASSERT_TRUE(control.LoadBody(row.body));
    control.ClickElement("link", row.message, row.keys);
    ASSERT_TRUE(PumpUntil([&] { return !control.windows.empty(); })) << row.why;
    EXPECT_EQ(control.windows[0].uri, Url("/window")) << row.why;
    EXPECT_EQ(control.windows[0].userInitiated, row.userInitiated) << row.why;
    EXPECT_EQ(control.navigations.size(), 1u) << row.why;
  }
  EXPECT_EQ(RequestsFor("/window"), before);
}

TEST(NewWindow, IsRequestedByFramesOfOtherSitesToo) {
  TestControl control;
  const std::string inner =
      PageUrl("<script>parent.postMessage(typeof chrome.webview, '*')</script>" +
                  Link("/framed", "target=_blank"),
              "other.test");
  ASSERT_TRUE(
      control.LoadBody("<script>onmessage = e => window.inner = e.data</script>"
                       "<iframe src='" +
                       inner + "' width=400 height=300></iframe>"));
  EXPECT_TRUE(control.WaitFor("window.inner", "\"object\"")) << "the message object is there too";
  control.Click(100, 50);
  ASSERT_TRUE(PumpUntil([&] { return !control.windows.empty(); }));
  EXPECT_EQ(control.windows[0].uri, Url("/framed", "other.test"));
  EXPECT_TRUE(control.windows[0].userInitiated);
}

TEST(NewWindow, OfAScriptHasNoGesture) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  control.Evaluate("window.open('https://else.test/x')");
  control.Evaluate("window.open()");
  ASSERT_TRUE(PumpUntil([&] { return control.windows.size() == 2; }));
  EXPECT_EQ(control.windows[0].uri, "https://else.test/x");
  EXPECT_FALSE(control.windows[0].userInitiated);
  EXPECT_EQ(control.windows[1].uri, "about:blank");
}

}  // namespace
}  // namespace wendra
