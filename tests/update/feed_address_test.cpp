#include "update/feed_address.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

constexpr char kBuiltIn[] = "https://releases.wendra.example/releases/win/appcast.xml";
constexpr char kIgnoring[] = "[Update] ignoring \"updateFeed\" — expected an http/https URL";

TEST(FeedAddress, IsTheBuiltInOneUnlessTheConfigurationHasAnother) {
  const struct {
    const char* why;
    std::string_view config;
    const char* address;
    const char* complaint;
  } cases[] = {
      {"no file", "", kBuiltIn, ""},
      {"no key", "{}", kBuiltIn, ""},
      {"http", R"({"updateFeed":"http://x/y"})", "http://x/y", ""},
      {"https", R"({"updateFeed":"https://x/y?z#f"})", "https://x/y?z#f", ""},
      {"nothing after the prefix", R"({"updateFeed":"http://"})", "http://", ""},
      {"blanks inside", R"({"updateFeed":"http://x y"})", "http://x y", ""},
      {"escapes", R"({"updateFeed":"http:\/\/x"})", "http://x", ""},
      {"beside other keys", R"({"server":"a","updateFeed":"http://x","b":[]})", "http://x", ""},
      {"the first of two", R"({"updateFeed":"http://1","updateFeed":"http://2"})", "http://1", ""},
      {"blanks around the object", " \t\r\n{\"updateFeed\":\"http://x\"} \t\r\n", "http://x", ""},
      {"ftp", R"({"updateFeed":"ftp://x"})", kBuiltIn, kIgnoring},
      {"capitals", R"({"updateFeed":"HTTPS://x"})", kBuiltIn, kIgnoring},
      {"mixed case", R"({"updateFeed":"Http://x"})", kBuiltIn, kIgnoring},
      {"a blank in front", R"({"updateFeed":" https://x"})", kBuiltIn, kIgnoring},
      {"a lone blank", R"({"updateFeed":" "})", kBuiltIn, kIgnoring},
      {"one slash", R"({"updateFeed":"http:/x"})", kBuiltIn, kIgnoring},
      {"no scheme", R"({"updateFeed":"x/y"})", kBuiltIn, kIgnoring},
      {"a path", R"({"updateFeed":"C:\\feed.xml"})", kBuiltIn, kIgnoring},
      {"empty text", R"({"updateFeed":""})", kBuiltIn, ""},
      {"a number", R"({"updateFeed":5})", kBuiltIn, ""},
      {"null", R"({"updateFeed":null})", kBuiltIn, ""},
      {"an array", R"({"updateFeed":["http://x"]})", kBuiltIn, ""},
      {"an object", R"({"updateFeed":{"url":"http://x"}})", kBuiltIn, ""},
      {"other case of the key", R"({"updatefeed":"http://x"})", kBuiltIn, ""},
      {"inside another object", R"({"a":{"updateFeed":"http://x"}})", kBuiltIn, ""},
      {"no object at the top", R"(["updateFeed","http://x"])", kBuiltIn, ""},
      {"text after the object", R"({"updateFeed":"http://x"} x)", kBuiltIn, ""},
      {"broken", R"({"updateFeed":"http://x")", kBuiltIn, ""},
      {"a byte order mark", "\xEF\xBB\xBF{\"updateFeed\":\"http://x\"}", kBuiltIn, ""},
      {"a number out of range", R"({"updateFeed":"http://x","n":1e400})", kBuiltIn, ""},
  };
  for (const auto& c : cases) {
    const FeedAddress got = ReadFeedAddress(c.config);
    EXPECT_EQ(got.address, c.address) << c.why;
    EXPECT_EQ(got.complaint, c.complaint) << c.why;
  }
}

}  // namespace
}  // namespace wendra
