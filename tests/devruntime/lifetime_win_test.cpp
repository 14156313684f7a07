#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "devruntime/base/variables_win.h"
#include "devruntime/webview2/browser_port_win.h"
#include "devruntime/webview2/settings_win.h"
#include "devruntime/webview2/web_socket_win.h"
#include "tests/devruntime/test_control_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

// A file in the scratch folder of the run, as a Unix path, which is what a script would give.
std::wstring ScratchFile(const wchar_t* name) {
  return DevVariable(L"RUNTIME_TEST_SCRATCH") + L"/" + name;
}

TEST(Closing, EveryCallFailsAfterwards) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  ASSERT_EQ(control.Controller().Close(), S_OK);
  EXPECT_EQ(control.PageWindow(), nullptr);
  EXPECT_TRUE(FAILED(control.View().Navigate(L"about:blank")));
  EXPECT_TRUE(FAILED(control.View().Reload()));
  EXPECT_TRUE(FAILED(control.View().ExecuteScript(L"1", nullptr)));
  LPWSTR source = nullptr;
  EXPECT_TRUE(FAILED(control.View().get_Source(&source)));
  EXPECT_TRUE(FAILED(control.Controller().put_Bounds(RECT{0, 0, 1, 1})));
  ICoreWebView2* view = &control.View();
  EXPECT_TRUE(FAILED(control.Controller().get_CoreWebView2(&view)));
  EXPECT_EQ(view, nullptr);
  EXPECT_EQ(control.Controller().Close(), S_OK) << "once more does nothing";
}

TEST(Closing, NoHandlerIsInvokedAfterwards) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  control.Evaluate("setInterval(() => chrome.webview.postMessage(1))");
  ASSERT_TRUE(PumpUntil([&] { return control.messages.size() > 3; }));
  bool completed = false;
  control.View().ExecuteScript(
      L"1", MakeHandler<ScriptHandler>([&](HRESULT, LPCWSTR) { completed = true; }).Get());
  control.Controller().Close();
  const size_t before = control.messages.size();
  TestControl other;  // while another control starts, a late handler would be invoked
  ASSERT_TRUE(other.LoadBody("hello"));
  EXPECT_EQ(control.messages.size(), before);
  EXPECT_FALSE(completed);
}

TEST(Closing, HappensWithTheLastReferenceToTheController) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  ASSERT_NE(control.PageWindow(), nullptr);
  control.ReleaseController();
  EXPECT_EQ(control.PageWindow(), nullptr);
  EXPECT_TRUE(FAILED(control.View().ExecuteScript(L"1", nullptr)));
}

TEST(Closing, FromInsideAHandlerIsHarmless) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  EventRegistrationToken token{};
  bool closed = false;
  control.View().add_WebMessageReceived(MakeHandler<MessageHandler>([&](auto, auto*) {
                                          control.Controller().Close();
                                          closed = true;
                                        }).Get(),
                                        &token);
  control.View().ExecuteScript(L"chrome.webview.postMessage(1); chrome.webview.postMessage(2)",
                               nullptr);
  ASSERT_TRUE(PumpUntil([&] { return closed; }));
  PumpPending();
  EXPECT_EQ(control.messages.size(), 1u);
}

TEST(Closing, ParentWindowMayBeDestroyedFirst) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  DestroyWindow(control.Window());
  EXPECT_EQ(control.Evaluate("1"), "1") << "the page itself is still there";
  EXPECT_EQ(control.Controller().Close(), S_OK);
}

TEST(Threads, CallsFromAnotherThreadFail) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  std::thread([&] {
    EXPECT_TRUE(FAILED(control.View().ExecuteScript(L"document.title = 'changed'", nullptr)));
    EXPECT_TRUE(FAILED(control.View().Navigate(L"about:blank")));
    EXPECT_TRUE(FAILED(control.Controller().Close()));
    EXPECT_TRUE(FAILED(control.Controller().put_IsVisible(FALSE)));
    const auto handler = MakeHandler<ControllerHandler>([](HRESULT, ICoreWebView2Controller*) {});
    EXPECT_TRUE(FAILED(
        control.Environment().CreateCoreWebView2Controller(control.Window(), handler.Get())));
  }).join();
  EXPECT_EQ(control.Evaluate("document.title"), "\"\"");
}

TEST(Threads, EveryHandlerRunsOnTheThreadThatMadeTheEnvironment) {
  TestControl control;
  std::vector<DWORD> threads;
  EventRegistrationToken token{};
  control.View().add_WebMessageReceived(MakeHandler<MessageHandler>([&](auto, auto*) {
                                          threads.push_back(GetCurrentThreadId());
                                        }).Get(),
                                        &token);
  control.View().add_NavigationStarting(MakeHandler<NavigationHandler>([&](auto, auto*) {
                                          threads.push_back(GetCurrentThreadId());
                                        }).Get(),
                                        &token);
  ASSERT_TRUE(control.LoadBody("<script>chrome.webview.postMessage(1)</script>"));
  ASSERT_EQ(threads.size(), 2u);
  for (const DWORD thread : threads) EXPECT_EQ(thread, GetCurrentThreadId());
}

TEST(Dialogs, AreAnsweredAsTheVariableSays) {
  for (const bool accept : {true, false}) {
    const ScopedVariable variable(L"WENDRA_DEV_DIALOGS", accept ? L"accept" : L"dismiss");
    TestControl control;
    ASSERT_TRUE(control.LoadBody("hello"));
    EXPECT_EQ(control.Evaluate("alert('x'); 1"), "1");
    EXPECT_EQ(control.Evaluate("confirm('x')"), accept ? "true" : "false");
    EXPECT_EQ(control.Evaluate("prompt('x', 'given')"), accept ? "\"given\"" : "null");
  }
}

TEST(Failures, CrashOfThePageLeavesTheHostAlive) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  control.View().Navigate(L"chrome://crash");
  bool failed = false;
  const auto handler = MakeHandler<ScriptHandler>([&](HRESULT, LPCWSTR) { failed = true; });
  control.View().ExecuteScript(L"1", handler.Get());
  EXPECT_TRUE(PumpUntil([&] { return failed; }));
  EXPECT_TRUE(control.LoadBody("again"));
  EXPECT_EQ(control.Evaluate("document.body.textContent"), "\"again\"");
}

// No other test may use the second browser: this one ends it.
TEST(Failures, EndOfTheBrowserLeavesTheHostAlive) {
  const std::wstring file = DevVariable(L"RUNTIME_TEST_SECOND_BROWSER");
  const ScopedVariable browser(L"WENDRA_DEV_BROWSER", file);
  const ScopedVariable shared(L"WENDRA_DEV_SHARED", L"0");
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  ASSERT_EQ(control.Evaluate("1"), "1");
  const auto where = WaitForBrowserPort(ReadControlSettings().browserPortFile, kTestTimeoutMs);
  ASSERT_TRUE(where);
  WebSocket socket;
  ASSERT_TRUE(socket.Connect(where->port, where->path));
  ASSERT_TRUE(socket.Send(R"({"id":1,"method":"Browser.close"})"));
  std::string ignored;
  while (socket.Receive(ignored)) continue;  // until the browser has ended
  HRESULT error = S_OK;
  const auto handler = MakeHandler<ScriptHandler>([&](HRESULT result, LPCWSTR) { error = result; });
  while (SUCCEEDED(error)) {
    bool done = false;
    const auto next = MakeHandler<ScriptHandler>([&](HRESULT result, LPCWSTR) {
      error = result;
      done = true;
    });
    ASSERT_EQ(control.View().ExecuteScript(L"1", next.Get()), S_OK);
    ASSERT_TRUE(PumpUntil([&] { return done; }));
  }
  EXPECT_EQ(error, E_FAIL);
  EXPECT_EQ(control.View().Navigate(L"about:blank"), S_OK) << "it just comes to nothing";
}

TEST(Reports, EventsAreWrittenAsTheyHappen) {
  const ScopedVariable file(L"WENDRA_DEV_EVENTS", ScratchFile(L"events"));
  const std::wstring path = ReadControlSettings().eventsFile;
  DeleteFileW(path.c_str());
  std::string url;
  {
    TestControl control;
    url = PageUrl("hello");
    ASSERT_TRUE(control.Load(url));
    ASSERT_TRUE(
        PumpUntil([&] { return ReadWholeFile(path).find("painted") != std::string::npos; }));
    EXPECT_FALSE(control.Load(Url("/nothing")));
  }
  EXPECT_EQ(ReadWholeFile(path),
            "{\"event\":\"environment\",\"userDataFolder\":\"\"}\n"
            "{\"event\":\"loaded\",\"uri\":\"" +
                url +
                "\"}\n"
                "{\"event\":\"painted\"}\n"
                "{\"event\":\"failed\",\"uri\":\"" +
                url +
                "\"}\n"
                "{\"event\":\"closed\",\"hasParent\":true}\n");
}

TEST(Reports, TimingsLeaveOutTheCallsIntoTheRuntime) {
  const ScopedVariable file(L"WENDRA_DEV_TIMINGS", ScratchFile(L"timings"));
  const std::wstring path = ReadControlSettings().timingsFile;
  std::int64_t inHandler = 0;
  std::int64_t inCall = 0;
  {
    TestControl control;
    ASSERT_TRUE(control.LoadBody("hello"));
    EventRegistrationToken token{};
    control.View().add_WebMessageReceived(MakeHandler<MessageHandler>([&](auto, auto*) {
                                            const std::int64_t start = Microseconds();
                                            const std::wstring script(8 * 1024 * 1024, L' ');
                                            const std::int64_t callStart = Microseconds();
                                            control.View().ExecuteScript(script.c_str(), nullptr);
                                            const std::int64_t end = Microseconds();
                                            inHandler = end - start;
                                            inCall = end - callStart;
                                          }).Get(),
                                          &token);
    control.Evaluate("chrome.webview.postMessage(1)");
    ASSERT_TRUE(PumpUntil([&] { return inHandler > 0; }));
  }
  const std::string report = ReadWholeFile(path);
  unsigned count = 0;
  unsigned p50 = 0;
  unsigned p99 = 0;
  unsigned max = 0;
  ASSERT_EQ(std::sscanf(report.c_str(), "{\"count\":%u,\"p50\":%u,\"p99\":%u,\"max\":%u}", &count,
                        &p50, &p99, &max),
            4)
      << report;
  EXPECT_EQ(count, 1u);
  EXPECT_EQ(p50, max);
  EXPECT_GE(max, inHandler - inCall);
  EXPECT_LT(max, inHandler - inCall / 2) << "of " << inHandler << ", in the call " << inCall;
}

}  // namespace
}  // namespace wendra
