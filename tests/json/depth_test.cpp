// Depth costs memory, never the machine's stack. Every test here would overflow a stack of some
// megabytes if a level cost a stack frame of its own.
#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "json/json.h"

namespace wendra {
namespace {

// Sanitizers multiply the memory and the time of each level; a million is as deep for a stack.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kDepth = 1'000'000;
#else
constexpr std::size_t kDepth = 5'000'000;
#endif

struct Nesting {
  std::string_view open;
  std::string_view innermost;
  std::string_view close;
};

constexpr Nesting kNestings[] = {
    {"[", "", "]"},
    {"{\"a\":", "{}", "}"},
    {"[{\"a\":[0,", "1", "],\"b\":2}]"},
};

std::string Repeat(std::string_view piece, std::size_t count) {
  std::string text;
  text.reserve(piece.size() * count);
  for (; count > 0; --count) text += piece;
  return text;
}

std::size_t Levels(const Nesting& nesting) { return kDepth / (nesting.open.size() > 5 ? 3 : 1); }

std::string Nested(const Nesting& nesting) {
  return Repeat(nesting.open, Levels(nesting)) + std::string(nesting.innermost) +
         Repeat(nesting.close, Levels(nesting));
}

TEST(JsonDepth, ReadsCopiesMovesAssignsWritesAndDestroys) {
  for (const Nesting& nesting : kNestings) {
    const std::string text = Nested(nesting);
    Json value;
    ASSERT_TRUE(Parse(text, value)) << nesting.open;
    Json copy(value);
    value = Json();
    Json moved(std::move(copy));
    value = std::move(moved);
    value = Json(value);
    std::string written;
    Serialize(value, written);
    EXPECT_TRUE(written == text) << nesting.open;
  }
}

TEST(JsonDepth, AssignsFromItsOwnDepth) {
  for (const Nesting& nesting : kNestings) {
    Json value;
    ASSERT_TRUE(Parse(Nested(nesting), value)) << nesting.open;
    const bool isArray = value.kind == kJsonArray;
    value = std::move(isArray ? value.items[0] : value.members[0].second);
    value = Json(isArray && value.kind == kJsonArray ? value.items[0] : value);
    EXPECT_NE(value.kind, kJsonNull) << nesting.open;
  }
}

TEST(JsonDepth, ReplacesADeepValueByReadingAnother) {
  Json value;
  ASSERT_TRUE(Parse(Nested(kNestings[0]), value));
  ASSERT_TRUE(Parse("1", value));
  EXPECT_EQ(value.number, 1);
}

TEST(JsonDepth, FailsOnBracketsThatNeverClose) {
  for (const Nesting& nesting : kNestings) {
    const std::string open = Repeat(nesting.open, 1'000'000);
    for (const char* rest : {"", "x", "]", "}", "\"", "1", "[1,]"}) {
      Json value;
      EXPECT_FALSE(Parse(open + rest, value)) << nesting.open << " " << rest;
      const Json copy(value);  // not to be used, but still to be copied and destroyed safely
      EXPECT_FALSE(Parse(open, value));
    }
  }
}

TEST(JsonDepth, ThrowsOutOfTheDepth) {
  for (const Nesting& nesting : kNestings) {
    Json value;
    EXPECT_THROW(Parse(Repeat(nesting.open, 1'000'000) + "1e400", value), std::out_of_range);
  }
}

TEST(JsonDepth, BuildsFromTheInsideOut) {
  Json value(1);
  for (std::size_t level = 0; level < kDepth / 5; ++level) {
    Json outer = Json::Array();
    outer.items.push_back(std::move(value));
    value = std::move(outer);
  }
  value.items.clear();  // destroyed through the vector, not through the value
  EXPECT_TRUE(value.items.empty());
}

}  // namespace
}  // namespace wendra
