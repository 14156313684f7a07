#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/devruntime/test_control_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

TEST(Scripts, ResultIsTheJsonOfTheLastExpression) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  const struct {
    const char* script;
    const char* json;
  } rows[] = {
      {"1 + 1", "2"},
      {"'te\"xt'", R"("te\"xt")"},
      {"({a: [1, null, true]})", R"({"a":[1,null,true]})"},
      {"undefined", "null"},
      {"null", "null"},
      {"throw new Error('no')", "null"},
      {"this is no script", "null"},
      {"Promise.resolve(1)", "{}"},
      {"(() => { const o = {}; o.o = o; return o; })()", "null"},
      {"var kept = 5; kept", "5"},
      {"kept", "5"},
      {"", "null"},
  };
  for (const auto& row : rows) EXPECT_EQ(control.Evaluate(row.script), row.json) << row.script;
}

TEST(Scripts, RunInTheOrderInWhichTheyWereGiven) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  control.View().ExecuteScript(L"window.seen = []", nullptr);
  for (int i = 0; i < 2000; ++i) {
    control.View().ExecuteScript((L"seen.push(" + std::to_wstring(i) + L")").c_str(), nullptr);
  }
  EXPECT_EQ(control.Evaluate("seen.length + ':' + seen.every((v, i) => v === i)"), "\"2000:true\"");
}

TEST(Scripts, CompletionIsNotInsideTheCall) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  bool returned = false;
  bool done = false;
  const auto handler = MakeHandler<ScriptHandler>([&](HRESULT, LPCWSTR) {
    EXPECT_TRUE(returned);
    done = true;
  });
  control.View().ExecuteScript(L"1", handler.Get());
  returned = true;
  EXPECT_TRUE(PumpUntil([&] { return done; }));
}

TEST(Scripts, SixteenMebibytesRunWhole) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  const std::string script =
      "window.big = '" + std::string(16 * 1024 * 1024, 'x') + "'; big.length";
  EXPECT_EQ(control.Evaluate(script), "16777216");
}

TEST(Scripts, TextOutsideAsciiArrives) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  EXPECT_EQ(control.Evaluate("'\xc3\xa4\xe2\x80\xa8\xf0\x9f\x98\x80'.length"), "4");
}

TEST(Scripts, WaitForTheDocumentThatIsLoading) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("<p id=first>"));
  // NavigationStarting is the earliest moment at which the host knows of the navigation.
  bool asked = false;
  control.cancel = [&](const SeenNavigation&) { return false; };
  control.View().Navigate(Widen(PageUrl("<p id=second>")).c_str());
  const size_t before = control.navigations.size();
  ASSERT_TRUE(PumpUntil([&] { return control.navigations.size() > before; }));
  std::string result;
  const auto handler = MakeHandler<ScriptHandler>([&](HRESULT, LPCWSTR json) {
    result = Narrow(json);
    asked = true;
  });
  control.View().ExecuteScript(L"location.href", handler.Get());
  ASSERT_TRUE(PumpUntil([&] { return asked; }));
  EXPECT_EQ(result, "\"" + PageUrl("<p id=second>") + "\"");
}

// Each script keeps the old page busy for a millisecond, so hundreds of them have not run when the
// page is replaced. None of these may run in the new page. Scripts that are given after the start
// of the navigation are meant for the new page.
TEST(Scripts, GivenBeforeANavigationDoNotReachTheDocumentAfterIt) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  const std::wstring mark =
      L"for (const end = performance.now() + 1; performance.now() < end;);"
      L"(window.marks = window.marks || []).push(";
  const auto run = [&](const wchar_t* when) {
    control.View().ExecuteScript((mark + when + L")").c_str(), nullptr);
  };
  const std::string target = PageUrl("other", "other.test");
  // The page navigates itself: then both documents are in one process.
  control.View().ExecuteScript(Widen("location.href = '" + target + "'").c_str(), nullptr);
  for (int i = 0; i < 1000; ++i) run(L"'before'");
  ASSERT_TRUE(PumpUntil([&] { return control.navigations.size() == 2; }));
  run(L"'later'");
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  EXPECT_EQ(control.Evaluate("location.href"), "\"" + target + "\"");
  EXPECT_EQ(control.Evaluate("marks"), R"(["later"])");
}

TEST(Scripts, RunAfterANavigationWithoutANewDocument) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("stays"));
  EXPECT_FALSE(control.Load(Url("/nothing")));
  EXPECT_EQ(control.Evaluate("document.body.textContent"), "\"stays\"");
}

TEST(DocumentScripts, RunInEveryLaterDocumentBeforeThePage) {
  TestControl control;
  std::string id;
  const auto added = MakeHandler<ScriptAddedHandler>([&](HRESULT error, LPCWSTR text) {
    ASSERT_EQ(error, S_OK);
    id = Narrow(text);
  });
  // The test does not wait between the calls: they must take effect in their order.
  control.View().AddScriptToExecuteOnDocumentCreated(L"window.steps = ['first']", added.Get());
  control.View().AddScriptToExecuteOnDocumentCreated(L"steps.push('second')", nullptr);
  ASSERT_TRUE(control.LoadBody("<script>steps.push('page')</script>"));
  EXPECT_EQ(control.Evaluate("steps"), R"(["first","second","page"])");
  EXPECT_FALSE(id.empty());
  control.View().Reload();
  ASSERT_TRUE(PumpUntil([&] { return control.completions.size() == 2; }));
  EXPECT_EQ(control.Evaluate("steps"), R"(["first","second","page"])");
  ASSERT_EQ(control.View().RemoveScriptToExecuteOnDocumentCreated(Widen(id).c_str()), S_OK);
  ASSERT_TRUE(control.LoadBody("<script>window.steps = window.steps || ['page']</script>"));
  EXPECT_EQ(control.Evaluate("steps"), R"(["page"])");
}

TEST(DocumentScripts, DoNotRunInTheCurrentDocument) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  bool added = false;
  control.View().AddScriptToExecuteOnDocumentCreated(
      L"window.late = 1",
      MakeHandler<ScriptAddedHandler>([&](HRESULT, LPCWSTR) { added = true; }).Get());
  ASSERT_TRUE(PumpUntil([&] { return added; }));
  EXPECT_EQ(control.Evaluate("typeof late"), "\"undefined\"");
}

// Prints the latencies. Fails only for a latency with which no other measurement makes sense.
void Report(const char* what, std::vector<std::int64_t>& samples) {
  std::sort(samples.begin(), samples.end());
  const auto at = [&](size_t percent) { return samples[samples.size() * percent / 100]; };
  std::printf("%s: p50 %lld us, p90 %lld us, p99 %lld us, max %lld us\n", what,
              static_cast<long long>(at(50)), static_cast<long long>(at(90)),
              static_cast<long long>(at(99)), static_cast<long long>(samples.back()));
  std::fflush(stdout);
  EXPECT_LT(at(50), 20'000);
}

TEST(Latency, OfAScriptAndItsCompletion) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  std::vector<std::int64_t> samples;
  for (int i = 0; i < 1000; ++i) {
    const std::int64_t start = Microseconds();
    ASSERT_EQ(control.Evaluate("1"), "1");
    samples.push_back(Microseconds() - start);
  }
  Report("script to completion", samples);
}

TEST(Latency, OfAScriptThatPostsAndItsMessage) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  std::vector<std::int64_t> samples;
  for (size_t i = 0; i < 1000; ++i) {
    const std::int64_t start = Microseconds();
    control.View().ExecuteScript(L"chrome.webview.postMessage({n: 1})", nullptr);
    ASSERT_TRUE(PumpUntil([&] { return control.messages.size() == i + 1; }));
    samples.push_back(Microseconds() - start);
  }
  Report("script to message", samples);
}

}  // namespace
}  // namespace wendra
