// Tests that deep nesting takes heap memory and not the call stack. Each test would overflow a
// stack of some megabytes if each level took a stack frame.
#include <gtest/gtest.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "json/json.h"

namespace wendra {
namespace {

// The first test uses kDeepest. The other tests use kDeep, which is enough to overflow any stack.
// Sanitizers need far more memory and time for each level, so there both are the same.
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

TEST(JsonDepth, AssignsADeepValueFromItsOwnPart) {
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
    const Json copy(value);  // the value has no meaning, but copying and destroying it is safe
    EXPECT_FALSE(Parse(open + "x", value)) << nesting.open;
  }
}

TEST(JsonDepth, ThrowsAtADeepNumberThatIsOutOfRange) {
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
  value.items.clear();  // here the vector destroys the children
  EXPECT_TRUE(value.items.empty());
}

}  // namespace
}  // namespace wendra
