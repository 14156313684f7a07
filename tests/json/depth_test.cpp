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

// As deep as a text may be, once; the other tests are content with what overflows any stack.
// Sanitizers multiply the memory and the time of each level.
constexpr std::size_t kDeep = 500'000;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t kDeepest = kDeep;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr std::size_t kDeepest = kDeep;
#else
constexpr std::size_t kDeepest = 5'000'000;
#endif
#else
constexpr std::size_t kDeepest = 5'000'000;
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

std::string Nested(const Nesting& nesting, std::size_t levels) {
  return Repeat(nesting.open, levels) + std::string(nesting.innermost) +
         Repeat(nesting.close, levels);
}

TEST(JsonDepth, ReadsCopiesMovesAssignsWritesAndDestroys) {
  for (const Nesting& nesting : kNestings) {
    const std::string text = Nested(nesting, nesting.innermost == "1" ? kDeep : kDeepest);
    Json value;
    ASSERT_TRUE(Parse(text, value)) << nesting.open;
    Json copy(value);
    value = Json();
    Json moved(std::move(copy));
    value = std::move(moved);
    std::string written;
    Serialize(value, written);
    EXPECT_TRUE(written == text) << nesting.open;
  }
}

TEST(JsonDepth, AssignsFromItsOwnDepth) {
  const auto inner = [](Json& outer) -> Json& {
    return outer.kind == kJsonArray ? outer.items[0] : outer.members[0].second;
  };
  for (const Nesting& nesting : {kNestings[0], kNestings[1]}) {
    Json value;
    ASSERT_TRUE(Parse(Nested(nesting, kDeep), value)) << nesting.open;
    value = std::move(inner(value));
    value = inner(value);
    std::string written;
    Serialize(value, written);
    EXPECT_TRUE(written == Nested(nesting, kDeep - 2)) << nesting.open;
  }
}

TEST(JsonDepth, ReplacesADeepValueByReadingAnother) {
  Json value;
  ASSERT_TRUE(Parse(Nested(kNestings[0], kDeep), value));
  ASSERT_TRUE(Parse("1", value));
  EXPECT_EQ(value.number, 1);
}

TEST(JsonDepth, FailsOnBracketsThatNeverClose) {
  for (const Nesting& nesting : kNestings) {
    const std::string open = Repeat(nesting.open, 1'000'000);
    Json value;
    EXPECT_FALSE(Parse(open, value)) << nesting.open;
    const Json copy(value);  // not to be used, but still to be copied and destroyed safely
    EXPECT_FALSE(Parse(open + "x", value)) << nesting.open;
  }
}

TEST(JsonDepth, ThrowsOutOfTheDepth) {
  for (const Nesting& nesting : kNestings) {
    Json value;
    EXPECT_THROW(Parse(Repeat(nesting.open, kDeep) + "1e400", value), std::out_of_range);
  }
}

TEST(JsonDepth, BuildsFromTheInsideOut) {
  Json value(1);
  for (std::size_t level = 0; level < kDeep; ++level) {
    Json outer = Json::Array();
    outer.items.push_back(std::move(value));
    value = std::move(outer);
  }
  value.items.clear();  // destroyed through the vector, not through the value
  EXPECT_TRUE(value.items.empty());
}

}  // namespace
}  // namespace wendra
