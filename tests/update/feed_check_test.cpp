#include "update/feed_check.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

using Lines = std::vector<std::string>;

std::string Element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

std::string Version(const std::string& text) { return Element("sparkle:version", text); }

TEST(FeedReport, SaysWhyTheFeedCouldNotBeFetched) {
  for (const char* reason : {"invalid URL", "WinHttpOpen failed", "connect failed",
                             "request failed", "request failed (offline?)", "HTTP 304"}) {
    const Lines want = {std::string("[Update] could not fetch feed (") + reason +
                        ") - see WinSparkle result below"};
    EXPECT_EQ(ReportFeed(Failure{reason}, "1.0.0.0"), want);
  }
}

TEST(FeedReport, SaysWhatTheFeedAdvertisesAndTheDecision) {
  const std::string kUpToDate = " -> up to date, no prompt";
  const struct {
    const char* why;
    std::string feed;
    const char* current;
    Lines want;
  } cases[] = {
      {"newer",
       Version("1.10"),
       "1.9.0.0",
       {"[Update] feed advertises version 1.10",
        "[Update] decision: feed 1.10 > current 1.9.0.0 -> update expected (prompt / install)"}},
      {"equal",
       Version("1.4"),
       "1.4.0.0",
       {"[Update] feed advertises version 1.4",
        "[Update] decision: feed 1.4 == current 1.4.0.0" + kUpToDate}},
      {"older",
       Version("1.3.9"),
       "1.4.0.0",
       {"[Update] feed advertises version 1.3.9",
        "[Update] decision: feed 1.3.9 < current 1.4.0.0" + kUpToDate}},
      {"text that counts as zero",
       Version("v2.0"),
       "1.0.0.0",
       {"[Update] feed advertises version v2.0",
        "[Update] decision: feed v2.0 < current 1.0.0.0" + kUpToDate}},
      {"a number that counts as negative",
       Version("2147483648"),
       "1.0.0.0",
       {"[Update] feed advertises version 2147483648",
        "[Update] decision: feed 2147483648 < current 1.0.0.0" + kUpToDate}},
      {"with a version to show",
       Version("1.4") + Element("sparkle:shortVersionString", " 1.4 beta "),
       "1.4",
       {"[Update] feed advertises version 1.4 (shortVersionString 1.4 beta)",
        "[Update] decision: feed 1.4 == current 1.4" + kUpToDate}},
      {"with an empty version to show",
       Version("1.4") + Element("sparkle:shortVersionString", " "),
       "1.4",
       {"[Update] feed advertises version 1.4",
        "[Update] decision: feed 1.4 == current 1.4" + kUpToDate}},
      {"with a download",
       Version("1.4") + "<enclosure url=\"https://x/setup.exe\"/>",
       "1.4",
       {"[Update] feed advertises version 1.4", "[Update]   download: https://x/setup.exe",
        "[Update] decision: feed 1.4 == current 1.4" + kUpToDate}},
      {"no version, but a download",
       "<enclosure url=\"https://x/setup.exe\" sparkle:version=\"9\"/>",
       "1.4",
       {"[Update] feed advertises no <sparkle:version>", "[Update]   download: https://x/setup.exe",
        "[Update] cannot compare versions (current='1.4')"}},
      {"no version, but one to show",
       Element("sparkle:shortVersionString", "1.4"),
       "1.4",
       {"[Update] feed advertises no <sparkle:version>",
        "[Update] cannot compare versions (current='1.4')"}},
      {"an empty feed",
       "",
       "1.4",
       {"[Update] feed advertises no <sparkle:version>",
        "[Update] cannot compare versions (current='1.4')"}},
      {"no version of our own",
       Version("1.4"),
       "",
       {"[Update] feed advertises version 1.4", "[Update] cannot compare versions (current='')"}},
      {"neither version",
       "",
       "",
       {"[Update] feed advertises no <sparkle:version>",
        "[Update] cannot compare versions (current='')"}},
      {"the first item, not the highest",
       Version("1.5") + Version("2.0"),
       "1.6",
       {"[Update] feed advertises version 1.5",
        "[Update] decision: feed 1.5 < current 1.6" + kUpToDate}},
  };
  for (const auto& c : cases) EXPECT_EQ(ReportFeed(c.feed, c.current), c.want) << c.why;
}

}  // namespace
}  // namespace wendra
