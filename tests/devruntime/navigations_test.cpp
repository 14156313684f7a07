#include "devruntime/webview2/navigations.h"

#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

namespace wendra {
namespace {

// One step of a conversation: what the browser reports, and the events that the host gets for it.
struct Line {
  const char* method;
  const char* params;
  std::vector<std::string> told;
};

std::string Describe(const PageEvent& event) {
  const auto flag = [](bool value, const char* name) { return value ? std::string(name) : ""; };
  if (const auto* wanted = std::get_if<NavigationWanted>(&event)) {
    return "wanted " + std::to_string(wanted->id) + " " + wanted->uri +
           flag(wanted->isUserInitiated, " user") + flag(wanted->isRedirected, " redirected") +
           (wanted->fetchId.empty() ? "" : " waits:" + wanted->fetchId);
  }
  if (const auto* committed = std::get_if<DocumentCommitted>(&event)) {
    return "committed " + std::to_string(committed->id) + " " + committed->uri +
           flag(committed->isErrorPage, " error");
  }
  if (const auto* done = std::get_if<NavigationDone>(&event)) {
    return "done " + std::to_string(done->id) +
           (done->isSuccess ? " well" : " failed:" + std::to_string(static_cast<int>(done->error)));
  }
  if (const auto* moved = std::get_if<SourceMoved>(&event)) return "moved " + moved->uri;
  if (const auto* window = std::get_if<WindowWanted>(&event)) {
    return "window " + window->uri + flag(window->isUserInitiated, " user");
  }
  return "something else";
}

void ExpectConversation(Navigations& navigations, const std::vector<Line>& lines) {
  for (const Line& line : lines) {
    Json params;
    ASSERT_TRUE(Parse(line.params, params)) << line.params;
    std::vector<std::string> told;
    for (const PageEvent& event : navigations.Take(line.method, params)) {
      told.push_back(Describe(event));
    }
    EXPECT_EQ(told, line.told) << line.method << " " << line.params;
  }
}

TEST(Navigations, OfTheHostGoFromStartToLoad) {
  Navigations navigations("M", {});
  ExpectConversation(
      navigations,
      {{"Page.frameStartedNavigating",
        R"({"frameId":"M","url":"http://a/","loaderId":"L","navigationType":"differentDocument"})",
        {}},
       {"Network.requestWillBeSent",
        R"({"requestId":"L","type":"Document","frameId":"M","request":{"url":"http://a/"},)"
        R"("hasUserGesture":false})",
        {}},
       {"Fetch.requestPaused",
        R"({"requestId":"F1","frameId":"M","networkId":"L","request":{"url":"http://a/",)"
        R"("urlFragment":"#f"}})",
        {"wanted 1 http://a/#f user waits:F1"}},
       {"Page.frameNavigated",
        R"({"frame":{"id":"M","loaderId":"L","url":"http://a/","urlFragment":"#f"}})",
        {"committed 1 http://a/#f"}},
       {"Page.loadEventFired", "{}", {"done 1 well"}}});
  EXPECT_EQ(navigations.Source(), "http://a/#f");
}

TEST(Navigations, OfThePageHaveTheGestureOfTheRequest) {
  for (const bool gesture : {false, true}) {
    Navigations navigations("M", {});
    const std::string sent = std::string(R"({"requestId":"L","type":"Document","frameId":"M",)") +
                             R"("request":{"url":"http://b/"},"hasUserGesture":)" +
                             (gesture ? "true}" : "false}");
    ExpectConversation(
        navigations,
        {{"Page.frameRequestedNavigation",
          R"({"frameId":"M","reason":"scriptInitiated","url":"http://b/",)"
          R"("disposition":"currentTab"})",
          {}},
         {"Page.frameStartedNavigating",
          R"({"frameId":"M","url":"http://b/","loaderId":"L",)"
          R"("navigationType":"differentDocument"})",
          {}},
         {"Network.requestWillBeSent", sent.c_str(), {}},
         {"Fetch.requestPaused",
          R"({"requestId":"F","frameId":"M","networkId":"L","request":{"url":"http://b/"}})",
          {std::string("wanted 1 http://b/") + (gesture ? " user" : "") + " waits:F"}}});
  }
}

TEST(Navigations, ThatNeverStartedDoNotAffectTheNext) {
  Navigations navigations("M", {});
  ExpectConversation(
      navigations,
      {{"Page.frameRequestedNavigation",
        R"({"frameId":"M","reason":"anchorClick","url":"data:x","disposition":"currentTab"})",
        {}},
       {"Page.frameStartedNavigating",
        R"({"frameId":"M","url":"http://a/","loaderId":"L","navigationType":"reload"})",
        {}},
       {"Fetch.requestPaused",
        R"({"requestId":"F","frameId":"M","networkId":"L","request":{"url":"http://a/"}})",
        {"wanted 1 http://a/ user waits:F"}}});
}

TEST(Navigations, CancelledByTheHostHaveAnotherErrorThanAborted) {
  for (const bool byHost : {true, false}) {
    Navigations navigations("M", {});
    ExpectConversation(
        navigations,
        {{"Fetch.requestPaused",
          R"({"requestId":"F","frameId":"M","networkId":"L","request":{"url":"http://a/"}})",
          {"wanted 1 http://a/ waits:F"}}});
    if (byHost) navigations.Cancel(1);
    ExpectConversation(navigations, {{"Network.loadingFailed",
                                      R"({"requestId":"L","errorText":"net::ERR_ABORTED"})",
                                      {byHost ? "done 1 failed:14" : "done 1 failed:9"}}});
  }
}

TEST(Navigations, ThatFailedEndWithTheErrorPage) {
  Navigations navigations("M", {});
  ExpectConversation(
      navigations,
      {{"Page.frameStartedNavigating",
        R"({"frameId":"M","url":"http://a/","loaderId":"L","navigationType":"differentDocument"})",
        {}},
       {"Fetch.requestPaused",
        R"({"requestId":"F","frameId":"M","networkId":"L","request":{"url":"http://a/"}})",
        {"wanted 1 http://a/ user waits:F"}},
       {"Network.loadingFailed",
        R"({"requestId":"L","errorText":"net::ERR_CONNECTION_REFUSED"})",
        {}},
       {"Page.frameNavigated",
        R"({"frame":{"id":"M","loaderId":"L","url":"chrome-error://chromewebdata/",)"
        R"("unreachableUrl":"http://a/"}})",
        {"committed 1 http://a/ error"}},
       {"Page.loadEventFired", "{}", {"done 1 failed:12"}}});
}

TEST(Navigations, OfOtherFramesAreIgnored) {
  Navigations navigations("M", {});
  ExpectConversation(
      navigations,
      {{"Page.frameStartedNavigating",
        R"({"frameId":"S","url":"http://s/","loaderId":"L","navigationType":"differentDocument"})",
        {}},
       {"Page.frameNavigated", R"({"frame":{"id":"S","loaderId":"L","url":"http://s/"}})", {}},
       {"Page.navigatedWithinDocument",
        R"({"frameId":"S","url":"http://s/#x","navigationType":"fragment"})",
        {}}});
  EXPECT_EQ(navigations.Source(), "about:blank");
}

TEST(Navigations, ThatAreReplacedEndBeforeOrAfterTheNextBegins) {
  for (const bool endsLate : {false, true}) {
    Navigations navigations("M", {.replacedEndsLate = endsLate});
    const std::string next = "wanted 2 http://b/ waits:G";
    using Told = std::vector<std::string>;
    ExpectConversation(
        navigations,
        {{"Fetch.requestPaused",
          R"({"requestId":"F","frameId":"M","networkId":"L","request":{"url":"http://a/"}})",
          {"wanted 1 http://a/ waits:F"}},
         {"Page.frameRequestedNavigation",
          R"({"frameId":"M","reason":"scriptInitiated","url":"http://b/","disposition":"currentTab"})",
          {}},
         {"Network.loadingFailed", R"({"requestId":"L","errorText":"net::ERR_ABORTED"})",
          endsLate ? Told{} : Told{"done 1 failed:9"}},
         {"Page.frameStartedNavigating",
          R"({"frameId":"M","url":"http://b/","loaderId":"N","navigationType":"differentDocument"})",
          {}},
         {"Fetch.requestPaused",
          R"({"requestId":"G","frameId":"M","networkId":"N","request":{"url":"http://b/"}})",
          endsLate ? Told{next, "done 1 failed:9"} : Told{next}},
         // No navigation replaces this one.
         {"Network.loadingFailed",
          R"({"requestId":"N","errorText":"net::ERR_ABORTED"})",
          {"done 2 failed:9"}}});
  }
}

TEST(Navigations, ReplacedBeforeTheyHaveLoadedAreAborted) {
  Navigations navigations("M", {});
  ExpectConversation(navigations,
                     {{"Page.frameNavigated",
                       R"({"frame":{"id":"M","loaderId":"L1","url":"about:blank"}})",
                       {"wanted 1 about:blank", "committed 1 about:blank"}},
                      {"Page.frameNavigated",
                       R"({"frame":{"id":"M","loaderId":"L2","url":"about:srcdoc"}})",
                       {"done 1 failed:9", "wanted 2 about:srcdoc", "committed 2 about:srcdoc"}},
                      {"Page.loadEventFired", "{}", {"done 2 well"}}});
}

TEST(Navigations, NewWindowsAreWantedFromAnyFrame) {
  Navigations navigations("M", {});
  ExpectConversation(
      navigations,
      {{"Page.windowOpen", R"({"url":"http://w/","userGesture":true})", {"window http://w/ user"}},
       {"Page.windowOpen", R"({"url":"about:blank","userGesture":false})", {"window about:blank"}},
       {"Page.frameRequestedNavigation",
        R"({"frameId":"S","reason":"anchorClick","url":"http://w/","disposition":"newTab"})",
        {"window http://w/ user"}},
       {"Page.frameRequestedNavigation",
        R"({"frameId":"M","reason":"anchorClick","url":"http://d/","disposition":"download"})",
        {}}});
}

}  // namespace
}  // namespace wendra
