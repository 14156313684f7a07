#include "bridge/action.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(StringArgument, GivesStringsInsideTheArrayOnly) {
  const struct {
    std::string_view args;
    size_t index;
    std::string_view want;
  } cases[] = {
      {"[\"a\",\"b\"]", 0, "a"},
      {"[\"a\",\"b\"]", 1, "b"},
      {"[\"a\"]", 1, ""},
      {"[]", 0, ""},
      {"[5]", 0, ""},
      {"[null]", 0, ""},
      {"[[\"a\"]]", 0, ""},
      {"[{\"0\":\"a\"}]", 0, ""},
      {"\"a\"", 0, ""},
      {"{\"0\":\"a\"}", 0, ""},
      {"null", 0, ""},
      {"[true]", 0, ""},
      {"[\"\"]", 0, ""},
      {"[1,\"b\"]", 1, "b"},
  };
  for (const auto& c : cases) {
    Json args;
    ASSERT_TRUE(Parse(c.args, args));
    EXPECT_EQ(StringArgument(args, c.index), c.want) << c.args << c.index;
  }
}

}  // namespace
}  // namespace wendra
