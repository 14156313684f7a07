#include "webview/reply_gate.h"

#include <sstream>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace wendra {
namespace {

// A window that shows documents of the origins a, b (both trusted) or x (not trusted), first of a.
// A story of words tells what happens:
//
//   a1    script 1, for a page of a; *1 for any trusted page; -1 for a page without an origin
//   >7    navigation 7 starts      @7b   navigation 7 shows a document of b; @7- without an origin
//   .7    navigation 7 is over     +500  500 milliseconds pass
//   |     DropLate is called
class Window {
 public:
  // The numbers of the scripts that have run, in order.
  std::string Run(std::string_view story) {
    std::istringstream words{std::string(story)};
    for (std::string word; words >> word;) Take(word[0], word.substr(1));
    return ran_;
  }

  const ReplyGate& Gate() const { return gate_; }

 private:
  void Take(char what, const std::string& rest) {
    if (what == '>') return gate_.NavigationStarted(std::stoull(rest));
    if (what == '+') return void(nowMs_ += std::stoull(rest));
    if (what == '|') return gate_.DropLate(nowMs_);
    if (what == '.') return Add(gate_.NavigationEnded(std::stoull(rest), Shown(), nowMs_));
    if (what == '@') {
      shown_ = rest.back();
      return Add(gate_.DocumentCommitted(std::stoull(rest), Shown(), nowMs_));
    }
    PageScript script{std::string(1, what), rest};
    if (what == '*') script.origin.reset();
    if (what == '-') script.origin = "";
    if (auto text = gate_.Offer(std::move(script), Shown(), nowMs_)) ran_ += *text;
  }

  void Add(const std::vector<std::string>& texts) {
    for (const std::string& text : texts) ran_ += text;
  }

  ShownDocument Shown() const {
    if (shown_ == '-') return {};
    return {std::string(1, shown_), shown_ != 'x'};
  }

  ReplyGate gate_;
  char shown_ = 'a';
  std::uint64_t nowMs_ = 1'000'000;
  std::string ran_;
};

TEST(ReplyGate, RunsAScriptOnlyInTheOriginThatAsked) {
  const struct {
    const char* why;
    std::string_view story, ran;
  } cases[] = {
      {"at once in the page that asked", "a1 a2 a3", "123"},
      {"never in another origin", "b1 x2", ""},
      {"an event in any trusted page", "*1 >1 @1b *2 >2 @2x *3", "12"},
      {"what belongs to no origin runs nowhere", "-1 >1 @1- -2 a3 *4", ""},
      {"nothing in a page that is not trusted, though it is the one that asked", ">1 @1x x1", ""},
      {"waits while a navigation is under way", ">1 a1 *2 b3", ""},
      {"runs when the navigation brings nothing", ">1 a1 a2 .1", "12"},
      {"runs in the next page of the same origin", ">1 a1 @1a a2", "12"},
      {"dropped when another origin comes", ">1 a1 *2 @1b b3 a4 .1", "23"},
      {"dropped when a foreign page comes", ">1 a1 *2 @1x x3 *4 .1", ""},
      {"a page that asked while its predecessor was leaving gets its reply", ">1 b1 @1b", "1"},
      {"dropped for good: going back does not bring it back", ">1 a1 @1b .1 >2 @2a .2", ""},
      {"in order over what waits and what comes later", ">1 a1 @1a a2 .1 a3", "123"},
      {"the page is decided long before it has loaded", ">1 @1b b1 b2 .1 b3", "123"},
      {"a redirect starts with the same number", ">1 a1 >1 >1 .1 a2", "12"},
      {"a redirect starts with the same number, and brings another page", ">1 a1 >1 @1b a2", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(Window().Run(c.story), c.ran) << c.why;
}

TEST(ReplyGate, WaitsUntilEveryNavigationHasItsOutcome) {
  const struct {
    const char* why;
    std::string_view story, ran;
  } cases[] = {
      {"the end of an older one decides nothing", ">1 a1 >2 .1 a2", ""},
      {"the newer one decides", ">1 a1 >2 .1 .2", "1"},
      {"the newer one decides, whatever the order of their ends", ">1 a1 >2 .2 .1", "1"},
      {"an older one that is not over may still bring its page", ">1 a1 >2 .2 @1b a2", ""},
      {"a newer one under way: its page may be another", ">1 >2 @1a a1 @2b", ""},
      {"a newer one under way that brings nothing", ">1 >2 @1b b1 a2 .2", "1"},
      {"a new page ends all older ones", ">1 >2 >3 a1 @3a a2 .1 .2 .3", "12"},
      {"and what waits runs at once, for no end of theirs need come", ">1 >2 a1 @2a", "1"},
      {"the end of an unknown navigation", ">1 a1 .9", ""},
      {"a document of an unknown navigation", ">1 a1 @9b b2 .1", "2"},
      {"a document of an unknown navigation, and no navigation under way", "@9b b1 a2", "1"},
      {"two ends of one navigation", ">1 a1 .1 .1 a2", "12"},
  };
  for (const auto& c : cases) EXPECT_EQ(Window().Run(c.story), c.ran) << c.why;
}

TEST(ReplyGate, DropsAScriptThatHasWaitedTenSeconds) {
  const struct {
    const char* why;
    std::string_view story, ran;
  } cases[] = {
      {"just in time", ">1 a1 +9999 .1", "1"},
      {"late", ">1 a1 +10000 .1", ""},
      {"late when the page comes", ">1 a1 +10000 @1a", ""},
      {"each has its own ten seconds", ">1 a1 +6000 a2 +6000 a3 .1", "23"},
      {"a longer navigation makes later ones wait all the same", ">1 +60000 a1 +9999 .1", "1"},
      {"dropped early only if late", ">1 a1 +6000 a2 +4000 | .1", "2"},
  };
  for (const auto& c : cases) EXPECT_EQ(Window().Run(c.story), c.ran) << c.why;
}

TEST(ReplyGate, TellsWhenDropLateIsDue) {
  const struct {
    const char* why;
    std::string_view story;
    std::optional<std::uint64_t> deadlineMs;
  } cases[] = {
      {"nothing waits", "a1", {}},
      {"nothing waits, though something might", ">1", {}},
      {"the first that came", ">1 a1 +500 a2", 1'010'000},
      {"the first that is left", ">1 a1 +500 a2 +9500 |", 1'010'500},
      {"nothing is left", ">1 a1 +500 a2 +10000 |", {}},
      {"all have run", ">1 a1 a2 .1", {}},
  };
  for (const auto& c : cases) {
    Window window;
    window.Run(c.story);
    EXPECT_EQ(window.Gate().DeadlineMs(), c.deadlineMs) << c.why;
    EXPECT_EQ(window.Gate().HeldBytes() == 0, !c.deadlineMs) << c.why;
  }
}

TEST(ReplyGate, DropsAScriptBeyondTheLimitAndKeepsTheOthers) {
  constexpr std::size_t kReplyBytes = std::size_t{16} << 20;
  const ShownDocument shown{"a", true};
  ReplyGate gate;
  gate.NavigationStarted(1);
  std::string large(kReplyBytes, 'x');
  for (int i = 0; i < 40; ++i) {
    std::string text = large;
    text[0] = static_cast<char>('A' + i);
    EXPECT_FALSE(gate.Offer({"a", text}, shown, 0));
    EXPECT_LE(gate.HeldBytes(), ReplyGate::kMaxHeldBytes);
  }
  EXPECT_FALSE(gate.Offer({"a", "small"}, shown, 0));  // there is room for this one
  const auto texts = gate.NavigationEnded(1, shown, 0);
  ASSERT_EQ(texts.size(), 4u);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(texts[i][0], static_cast<char>('A' + i));
  EXPECT_EQ(texts[3], "small");
  EXPECT_EQ(gate.HeldBytes(), 0u);
}

// A small script costs more memory than its text.
TEST(ReplyGate, CountsItsOwnMemoryForEachScript) {
  const ShownDocument shown{"a", true};
  ReplyGate gate;
  gate.NavigationStarted(1);
  gate.Offer({"a", "1"}, shown, 0);
  const std::size_t each = gate.HeldBytes();
  EXPECT_GE(each, sizeof(std::string) * 2);
  const std::size_t fitting = ReplyGate::kMaxHeldBytes / each;
  for (std::size_t i = 1; i < fitting + 10; ++i) gate.Offer({"a", "1"}, shown, 0);
  EXPECT_EQ(gate.NavigationEnded(1, shown, 0).size(), fitting);
}

TEST(ReplyGate, MakesRoomByDroppingLateScripts) {
  const ShownDocument shown{"a", true};
  ReplyGate gate;
  gate.NavigationStarted(1);
  const std::string large(ReplyGate::kMaxHeldBytes - 1000, 'x');
  gate.Offer({"a", large}, shown, 0);
  gate.Offer({"a", large}, shown, 9'999);  // no room
  gate.Offer({"a", large}, shown, 10'000);
  EXPECT_EQ(gate.DeadlineMs(), 20'000u);
}

TEST(ReplyGate, ClearDropsAllScriptsAndNavigations) {
  Window window;
  window.Run(">1 a1 a2");
  ReplyGate gate = window.Gate();
  gate.Clear();
  EXPECT_EQ(gate.HeldBytes(), 0u);
  EXPECT_FALSE(gate.DeadlineMs());
  EXPECT_EQ(gate.Offer({"a", "3"}, {"a", true}, 0), "3");
}

}  // namespace
}  // namespace wendra
