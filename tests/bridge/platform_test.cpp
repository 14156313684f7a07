#include "bridge/platform.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(PlatformValue, HasItsFourMembersInOrder) {
  std::string text;
  Serialize(PlatformValue({"10.0.19045", "jürgen", "C:\\Users\\jürgen"}), text);
  EXPECT_EQ(text,
            "{\"name\":\"Windows\",\"version\":\"10.0.19045\",\"user\":\"jürgen\","
            "\"home\":\"C:\\\\Users\\\\jürgen\"}");
}

}  // namespace
}  // namespace wendra
