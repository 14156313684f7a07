#include "json/value_count.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "json/json.h"

namespace wendra {
namespace {

size_t Counted(std::string_view text) {
  size_t max = 0;
  while (HoldsMoreValues(text, max)) ++max;
  return max;
}

TEST(HoldsMoreValues, CountsTheValuesInJson) {
  const struct {
    std::string_view text;
    size_t want;
  } cases[] = {
      {"0", 1},
      {" 123 ", 1},
      {"[]", 1},
      {" [ ] ", 1},
      {"{}", 1},
      {"{ \t\r\n }", 1},
      {"[1]", 2},
      {"[1,2,3]", 4},
      {"[[],[],[]]", 4},
      {"[[[]]]", 3},
      {"{\"a\":1}", 2},
      {"{\"a\":1,\"b\":[2,{}]}", 5},
      {"[\"a,b[{\",\"\\\",[\",\"\\\\\"]", 4},
      {"\"[[[,,,\"", 1},
  };
  for (const auto& c : cases) EXPECT_EQ(Counted(c.text), c.want) << c.text;
}

TEST(HoldsMoreValues, CountsWhatLooksLikeAValueInOtherText) {
  EXPECT_TRUE(HoldsMoreValues(std::string(8 << 20, '['), 1'000'000));
  EXPECT_TRUE(HoldsMoreValues(std::string(8 << 20, '{'), 1'000'000));
  EXPECT_TRUE(HoldsMoreValues(std::string(8 << 20, ','), 1'000'000));
  EXPECT_FALSE(HoldsMoreValues(std::string(8 << 20, '"'), 1'000'000));
  EXPECT_FALSE(HoldsMoreValues(std::string(8 << 20, '\\'), 1'000'000));
  EXPECT_FALSE(HoldsMoreValues("", 0));
  for (const std::string_view cut : {"\"", "\"\\", "[\"abc", "[\"abc\\"}) {
    EXPECT_LE(Counted(cut), 2u) << cut;
  }
}

size_t CountedInTree(const Json& value) {
  size_t count = 1;
  for (const Json& item : value.items) count += CountedInTree(item);
  for (const auto& member : value.members) count += CountedInTree(member.second);
  return count;
}

TEST(HoldsMoreValues, AgreesWithTheReader) {
  std::mt19937 random(1);
  constexpr std::string_view kPieces[] = {"[", "]", "{", "}", ",", "\"a\":", "1", "\"x,[\"", " "};
  size_t parsed = 0;
  for (int round = 0; round < 200'000; ++round) {
    std::string text = "[";
    for (size_t i = random() % 8; i > 0; --i) text += kPieces[random() % std::size(kPieces)];
    text += "]";
    Json value;
    if (!Parse(text, value)) continue;
    ++parsed;
    ASSERT_EQ(Counted(text), CountedInTree(value)) << text;
  }
  EXPECT_GT(parsed, 1000u);
}

}  // namespace
}  // namespace wendra
