// What the control does: the real one, or the stand-in where that one lies beside the program.
#include <string>
#include <vector>

#include "tests/devruntime/test_control_win.h"
#include "tests/windows/facts_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr size_t kMiB = 1 << 20;

const char* Word(bool isTrue) { return isTrue ? "yes" : "no"; }

// A real click in the middle of the element, at its place on the screen.
void ClickOnScreen(TestControl& control, const std::string& id) {
  const auto pixel = [&](const std::string& expression) {
    const std::string script = "(r => Math.round((" + expression +
                               ") * devicePixelRatio))(document.getElementById('" + id +
                               "').getBoundingClientRect())";
    return std::atoi(control.Evaluate(script).c_str());
  };
  POINT place{pixel("r.left + r.width / 2"), pixel("r.top + r.height / 2")};
  ClientToScreen(control.Window(), &place);
  SetForegroundWindow(control.Window());
  SetCursorPos(place.x, place.y);
  INPUT inputs[3]{};
  for (INPUT& input : inputs) input.type = INPUT_MOUSE;
  inputs[0].mi.dwFlags = MOUSEEVENTF_MOVE;
  inputs[1].mi.dwFlags = MOUSEEVENTF_LEFTDOWN;
  inputs[2].mi.dwFlags = MOUSEEVENTF_LEFTUP;
  ASSERT_EQ(SendInput(3, inputs, sizeof(INPUT)), 3u);
}

std::string Link(const std::string& address) {
  return "<a id=link href='" + address + "' style='display:block;height:80px'>link</a>";
}

std::string RedirectTo(const std::string& path) { return "/redirect?to=" + Url(path); }

// "user-initiated: yes, after the redirect: no" of the last two navigation events.
std::string GestureOfRedirect(const TestControl& control) {
  const auto& seen = control.navigations;
  if (seen.size() < 2 || !seen.back().redirected) return "no event for the redirect";
  return std::string("user-initiated: ") + Word(seen[seen.size() - 2].userInitiated) +
         ", after the redirect: " + Word(seen.back().userInitiated);
}

TEST(ControlFacts, RedirectOfNavigate) {
  TestControl control;
  ASSERT_TRUE(control.Load(Url(RedirectTo("/target"))));
  RecordAnswer(GestureOfRedirect(control));
}

TEST(ControlFacts, RedirectOfScript) {
  TestControl control;
  ASSERT_TRUE(control.Load(Url("/start")));
  control.Evaluate("void setTimeout(() => { location.href = '" + RedirectTo("/target") + "'; })");
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  RecordAnswer(GestureOfRedirect(control));
}

TEST(ControlFacts, RedirectOfClickedLink) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody(Link(RedirectTo("/target"))));
  ClickOnScreen(control, "link");
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  RecordAnswer(GestureOfRedirect(control));
}

TEST(ControlFacts, ReloadByTheHost) {
  TestControl control;
  ASSERT_TRUE(control.Load(Url("/start")));
  control.View().Reload();
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  RecordAnswer(std::string("user-initiated: ") + Word(control.navigations.back().userInitiated));
}

TEST(ControlFacts, TimeToRegisterAScript) {
  TestControl control;
  const std::int64_t startedUs = Microseconds();
  bool isAdded = false;
  const auto added = MakeHandler<ScriptAddedHandler>([&](HRESULT, LPCWSTR) { isAdded = true; });
  ASSERT_EQ(control.View().AddScriptToExecuteOnDocumentCreated(L"window.early = true", added.Get()),
            S_OK);
  ASSERT_TRUE(PumpUntil([&] { return isAdded; }));
  RecordAnswer(std::to_string((Microseconds() - startedUs) / 1000) + " ms");
}

// The names of the events since `from`, or "none".
std::string EventsSince(const TestControl& control, size_t from) {
  std::string names;
  for (size_t i = from; i < control.order.size(); ++i) {
    names += (names.empty() ? "" : ", ") + control.order[i];
  }
  return names.empty() ? "none" : names;
}

// Follows a link and gives the events that come until the page has answered once more.
std::string EventsOfLink(TestControl& control, const std::string& address) {
  EXPECT_TRUE(control.LoadBody(Link(address)));
  const size_t from = control.order.size();
  control.Evaluate("document.getElementById('link').click()");
  (void)PumpUntil([&] { return control.order.size() >= from + 2; }, 3'000);
  return EventsSince(control, from);
}

TEST(ControlFacts, EventsOfADownload) {
  TestControl control;
  RecordAnswer(EventsOfLink(control, "/download"));
}

TEST(ControlFacts, EventsOfACancelledMailLink) {
  TestControl control;
  control.cancel = [](const SeenNavigation& seen) { return seen.uri.starts_with("mailto:"); };
  RecordAnswer(EventsOfLink(control, "mailto:nobody@wendra.test"));
}

TEST(ControlFacts, TabInAPageWithoutElements) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("<div id=link style='height:80px'>text</div>"));
  int events = 0;
  const auto handler = MakeHandler<MoveFocusHandler>([&](auto, auto) { ++events; });
  EventRegistrationToken token{};
  ASSERT_EQ(control.Controller().add_MoveFocusRequested(handler.Get(), &token), S_OK);
  ClickOnScreen(control, "link");
  ASSERT_EQ(control.Evaluate("1"), "1");
  INPUT inputs[2]{};
  for (INPUT& input : inputs) input.type = INPUT_KEYBOARD;
  for (INPUT& input : inputs) input.ki.wVk = VK_TAB;
  inputs[1].ki.dwFlags = KEYEVENTF_KEYUP;
  ASSERT_EQ(SendInput(2, inputs, sizeof(INPUT)), 2u);
  (void)PumpUntil([&] { return events > 1000; }, 1'000);
  RecordAnswer(std::to_string(events) + " event(s) in a second");
}

TEST(ControlFacts, LargestScript) {
  TestControl control;
  ASSERT_TRUE(control.Load(Url("/start")));
  std::string answer = "none";
  for (const size_t mib : {1u, 4u, 16u, 32u, 64u}) {
    const std::string script = "'" + std::string(mib * kMiB, 'x') + "'.length";
    if (control.Evaluate(script) != std::to_string(mib * kMiB)) break;
    answer = std::to_string(mib) + " MiB";
  }
  RecordAnswer(answer);
}

TEST(ControlFacts, SourceBeforeTheFirstPage) {
  TestControl control;
  LPWSTR source = nullptr;
  const HRESULT result = control.View().get_Source(&source);
  const std::string text = source ? "'" + NarrowAndFree(source) + "'" : "null";
  RecordAnswer((SUCCEEDED(result) ? "succeeds: " : "fails: ") + text);
}

TEST(ControlFacts, VersionOfTheRuntime) {
  LPWSTR version = nullptr;
  const HRESULT result = GetVersion()(nullptr, &version);
  RecordAnswer(SUCCEEDED(result) ? NarrowAndFree(version) : "none");
}

}  // namespace
}  // namespace wendra
