#include "json/objects.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(ParseJsonObject, GivesTheObject) {
  const auto object = ParseJsonObject(" {\"a\":1} \r\n");
  ASSERT_TRUE(object);
  ASSERT_TRUE(object->Find("a"));
  EXPECT_EQ(object->Find("a")->text, "1");
}

TEST(ParseJsonObject, GivesNothingForEverythingElse) {
  for (const char* text : {"", " ", "[]", "5", "\"x\"", "null", "{", "{} x", "\xEF\xBB\xBF{}",
                           "{\"a\":1e400}", "[1e400]", "{\"a\":1e-400}"}) {
    EXPECT_FALSE(ParseJsonObject(text)) << text;
  }
}

}  // namespace
}  // namespace wendra
