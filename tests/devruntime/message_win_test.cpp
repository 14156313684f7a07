#include <string>

#include <gtest/gtest.h>

#include "tests/devruntime/test_control_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

TEST(WebMessages, ArriveAsTheJsonOfThePostedValue) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  const struct {
    const char* script;
    const char* json;
  } rows[] = {
      {"{a: 1, b: [true, null]}", R"({"a":1,"b":[true,null]})"},
      {"'text'", R"("text")"},
      {R"('say "hi"\n')", R"("say \"hi\"\n")"},
      {"JSON.stringify({a: 1})", R"("{\"a\":1}")"},
      {"17.5", "17.5"},
      {"null", "null"},
      {"undefined", "null"},
      {"'\\u00e4\\u20ac\\ud83d\\ude00'", "\"\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80\""},
      {"'\\ud800'", R"("\ud800")"},
  };
  for (const auto& row : rows) {
    control.messages.clear();
    control.Evaluate(std::string("chrome.webview.postMessage(") + row.script + ")");
    ASSERT_TRUE(PumpUntil([&] { return !control.messages.empty(); })) << row.script;
    EXPECT_EQ(control.messages[0], row.json);
  }
}

TEST(WebMessages, SourceIsTheAddressOfTheDocument) {
  TestControl control;
  const std::string url = PageUrl("<script>chrome.webview.postMessage(1)</script>");
  ASSERT_TRUE(control.Load(url + "#part"));
  ASSERT_EQ(control.sources.size(), 1u);
  EXPECT_EQ(control.sources[0], url + "#part");
  control.Evaluate("history.pushState(0, '', '/moved'); chrome.webview.postMessage(2)");
  ASSERT_TRUE(PumpUntil([&] { return control.sources.size() == 2; }));
  EXPECT_EQ(control.sources[1], Url("/moved"));
}

TEST(WebMessages, OnlyAStringCanBeTakenAsString) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  std::vector<std::pair<HRESULT, std::string>> seen;
  EventRegistrationToken token{};
  const auto handler = MakeHandler<MessageHandler>([&](auto, auto* args) {
    LPWSTR text = nullptr;
    const HRESULT result = args->TryGetWebMessageAsString(&text);
    seen.emplace_back(result, NarrowAndFree(text));
  });
  control.View().add_WebMessageReceived(handler.Get(), &token);
  control.Evaluate("for (const m of ['a\\tb', {}, 1]) chrome.webview.postMessage(m)");
  ASSERT_TRUE(PumpUntil([&] { return seen.size() == 3; }));
  EXPECT_EQ(seen[0], (std::pair<HRESULT, std::string>(S_OK, "a\tb")));
  EXPECT_EQ(seen[1], (std::pair<HRESULT, std::string>(E_INVALIDARG, "")));
  EXPECT_EQ(seen[2], (std::pair<HRESULT, std::string>(E_INVALIDARG, "")));
}

TEST(WebMessages, CyclicObjectThrowsInThePage) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  EXPECT_EQ(control.Evaluate("(() => { const o = {}; o.o = o;"
                             " try { chrome.webview.postMessage(o); return 'sent'; }"
                             " catch (e) { return e.name; } })()"),
            "\"TypeError\"");
}

TEST(WebMessages, KeepTheirOrder) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  control.Evaluate("for (let i = 0; i < 500; ++i) chrome.webview.postMessage(i)");
  ASSERT_TRUE(PumpUntil([&] { return control.messages.size() == 500; }));
  for (size_t i = 0; i < 500; ++i) EXPECT_EQ(control.messages[i], std::to_string(i));
}

TEST(WebMessages, SixteenMebibytesArriveWhole) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  control.Evaluate("chrome.webview.postMessage('0123456789abcdef'.repeat(1024 * 1024))");
  ASSERT_TRUE(PumpUntil([&] { return !control.messages.empty(); }));
  const std::string& json = control.messages[0];
  ASSERT_EQ(json.size(), 16u * 1024 * 1024 + 2);
  EXPECT_EQ(json.substr(0, 17), "\"0123456789abcdef");
  EXPECT_EQ(json.substr(json.size() - 17), "0123456789abcdef\"");
}

TEST(WebMessages, ObjectIsThereBeforeTheFirstScriptOfEveryDocument) {
  TestControl control;
  const std::string body =
      "<script>chrome.webview.postMessage([typeof chrome.webview.postMessage,"
      " window.chrome === chrome, chrome.webview instanceof EventTarget])</script>";
  const std::string expected = R"(["function",true,true])";
  ASSERT_TRUE(control.LoadBody(body));
  ASSERT_EQ(control.messages.size(), 1u);
  EXPECT_EQ(control.messages[0], expected);
  control.View().Reload();
  ASSERT_TRUE(PumpUntil([&] { return control.messages.size() == 2; }));
  EXPECT_EQ(control.messages[1], expected);
  ASSERT_TRUE(control.Load(PageUrl(body, "other.test")));
  ASSERT_EQ(control.messages.size(), 3u);
  EXPECT_EQ(control.messages[2], expected);
}

TEST(WebMessages, WorkInTheDocumentThatIsThereBeforeTheFirstNavigation) {
  TestControl control;
  control.Evaluate("chrome.webview.postMessage('early')");
  ASSERT_TRUE(PumpUntil([&] { return !control.messages.empty(); }));
  EXPECT_EQ(control.messages[0], "\"early\"");
  EXPECT_EQ(control.sources[0], "about:blank");
}

TEST(WebMessages, PageCannotSeeTheChannelBehindThem) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  EXPECT_EQ(control.Evaluate("Object.getOwnPropertyNames(globalThis)"
                             ".filter(n => n.toLowerCase().includes('wendra')).length"),
            "0");
}

TEST(WebMessages, OfFramesInsideThePageAreIgnored) {
  TestControl control;
  const std::string inner =
      "<script>chrome.webview.postMessage('inner'); parent.postMessage('done', '*')</script>";
  const std::string body =
      "<script>onmessage = () => chrome.webview.postMessage('outer')</script>"
      "<iframe src='" +
      PageUrl(inner) + "'></iframe>";
  ASSERT_TRUE(control.LoadBody(body));
  ASSERT_TRUE(PumpUntil([&] { return !control.messages.empty(); }));
  ASSERT_EQ(control.messages.size(), 1u);
  EXPECT_EQ(control.messages[0], "\"outer\"");
}

TEST(WebMessages, AreNotDeliveredInsideAnotherHandler) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  int depth = 0;
  int deepest = 0;
  bool sawSecondInside = false;
  int count = 0;
  EventRegistrationToken token{};
  const auto handler = MakeHandler<MessageHandler>([&](auto, auto*) {
    deepest = std::max(deepest, ++depth);
    // Runs a nested message loop, as a dialog does. It ends after a time: in it no second message
    // may arrive.
    if (++count == 1) sawSecondInside = PumpUntil([&] { return count > 1; }, 300);
    --depth;
  });
  control.View().add_WebMessageReceived(handler.Get(), &token);
  control.Evaluate("chrome.webview.postMessage(1); chrome.webview.postMessage(2)");
  ASSERT_TRUE(PumpUntil([&] { return count == 2; }));
  EXPECT_FALSE(sawSecondInside);
  EXPECT_EQ(deepest, 1);
}

TEST(WebMessages, RemovedHandlerIsNotInvoked) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  int removed = 0;
  int kept = 0;
  EventRegistrationToken first{};
  EventRegistrationToken second{};
  control.View().add_WebMessageReceived(
      MakeHandler<MessageHandler>([&](auto, auto*) { ++removed; }).Get(), &first);
  control.View().add_WebMessageReceived(
      MakeHandler<MessageHandler>([&](auto, auto*) { ++kept; }).Get(), &second);
  EXPECT_NE(first.value, 0);
  EXPECT_GT(second.value, first.value);
  EXPECT_EQ(control.View().remove_WebMessageReceived(first), S_OK);
  control.Evaluate("chrome.webview.postMessage(1)");
  ASSERT_TRUE(PumpUntil([&] { return kept == 1; }));
  EXPECT_EQ(removed, 0);
}

}  // namespace
}  // namespace wendra
