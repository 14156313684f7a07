#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "json/json.h"

namespace wendra {
namespace {

// The numbers of the kinds and the order of the fields are fixed.
static_assert(kJsonNull == 0 && kJsonBool == 1 && kJsonNumber == 2);
static_assert(kJsonString == 3 && kJsonArray == 4 && kJsonObject == 5);
static_assert(std::is_same_v<decltype(Json::kind), std::uint32_t>);
static_assert(std::is_same_v<decltype(Json::boolean), bool> && sizeof(bool) == 1);
static_assert(std::is_same_v<decltype(Json::number), double>);
static_assert(std::is_same_v<decltype(Json::text), std::string>);
static_assert(std::is_same_v<decltype(Json::items), std::vector<Json>>);
static_assert(std::is_same_v<decltype(Json::members), std::vector<std::pair<std::string, Json>>>);
static_assert(std::is_standard_layout_v<Json>);
static_assert(offsetof(Json, kind) == 0);
static_assert(offsetof(Json, kind) < offsetof(Json, boolean));
static_assert(offsetof(Json, boolean) < offsetof(Json, number));
static_assert(offsetof(Json, number) < offsetof(Json, text));
static_assert(offsetof(Json, text) < offsetof(Json, items));
static_assert(offsetof(Json, items) < offsetof(Json, members));

// With these, a vector that grows moves its elements instead of copying them.
static_assert(std::is_nothrow_default_constructible_v<Json>);
static_assert(std::is_nothrow_move_constructible_v<Json>);
static_assert(std::is_nothrow_move_assignable_v<Json>);
static_assert(std::is_nothrow_move_constructible_v<std::pair<std::string, Json>>);
static_assert(std::is_nothrow_destructible_v<Json>);

// Of all pointers only text becomes a value, and only a bool becomes kJsonBool.
static_assert(!std::is_constructible_v<Json, void*>);
static_assert(!std::is_constructible_v<Json, const int*>);
static_assert(!std::is_constructible_v<Json, Json*>);
static_assert(!std::is_constructible_v<Json, std::unique_ptr<int>>);
static_assert(!std::is_constructible_v<Json, const wchar_t*>);
static_assert(!std::is_constructible_v<Json, char>);
static_assert(!std::is_constructible_v<Json, double>);
static_assert(!std::is_constructible_v<Json, std::uint64_t>);  // not every value fits

std::string Written(const Json& value) {
  std::string out;
  Serialize(value, out);
  return out;
}

void ExpectNullAndEmpty(const Json& value) {
  EXPECT_EQ(value.kind, kJsonNull);
  EXPECT_FALSE(value.boolean);
  EXPECT_EQ(value.number, 0);
  EXPECT_TRUE(value.text.empty());
  EXPECT_TRUE(value.items.empty());
  EXPECT_TRUE(value.members.empty());
}

Json Sample() {
  Json value;
  EXPECT_TRUE(Parse(R"({"a":[1,{"b":"a text that needs memory of its own","c":[true,null]},[]],)"
                    R"("k":{"x":{"y":["z"]}},"a":2})",
                    value));
  return value;
}

constexpr std::string_view kSampleText =
    R"({"a":[1,{"b":"a text that needs memory of its own","c":[true,null]},[]],)"
    R"("k":{"x":{"y":["z"]}},"a":2})";

TEST(JsonValue, IsNullByDefault) {
  ExpectNullAndEmpty(Json());
  ExpectNullAndEmpty(Json(nullptr));
  Json value;
  ExpectNullAndEmpty(value);
}

TEST(JsonValue, IsMadeFromText) {
  const char pointed[] = "text";
  char changeable[] = "text";
  const std::string owned = "text";
  const std::string_view seen = "text";
  const Json values[] = {
      Json("text"),     Json(pointed), Json(&pointed[0]),         Json(&changeable[0]),
      Json(changeable), Json(owned),   Json(std::string("text")), Json(seen)};
  for (const Json& value : values) {
    EXPECT_EQ(value.kind, kJsonString);
    EXPECT_EQ(value.text, "text");
  }
  EXPECT_EQ(Json(std::string("a\0b", 3)).text.size(), 3u);
  EXPECT_EQ(Json(std::string_view("a\0b", 3)).text.size(), 3u);
  EXPECT_EQ(Json("").kind, kJsonString);
}

TEST(JsonValue, IsMadeFromBool) {
  EXPECT_EQ(Json(true).kind, kJsonBool);
  EXPECT_TRUE(Json(true).boolean);
  EXPECT_EQ(Json(false).kind, kJsonBool);
  EXPECT_FALSE(Json(false).boolean);
  EXPECT_TRUE(Json(false).text.empty());
}

TEST(JsonValue, IsMadeFromIntegers) {
  const struct {
    std::int64_t value;
    const char* text;
  } cases[] = {
      {0, "0"},
      {1, "1"},
      {-1, "-1"},
      {2147483648, "2147483648"},
      {-9007199254740993, "-9007199254740993"},  // the text is exact, the double is rounded
      {std::numeric_limits<std::int64_t>::max(), "9223372036854775807"},
      {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
  };
  for (const auto& c : cases) {
    const Json value(c.value);
    EXPECT_EQ(value.kind, kJsonNumber);
    EXPECT_EQ(value.number, static_cast<double>(c.value));
    EXPECT_EQ(value.text, c.text);
  }
  EXPECT_EQ(Json(5).text, "5");
  EXPECT_EQ(Json(0).kind, kJsonNumber);
  EXPECT_EQ(Json(-7L).text, "-7");
  EXPECT_EQ(Json(7LL).text, "7");
  EXPECT_EQ(Json(short{3}).text, "3");
}

TEST(JsonValue, IsMadeAsAnEmptyContainer) {
  EXPECT_EQ(Json::Array().kind, kJsonArray);
  EXPECT_EQ(Json::Object().kind, kJsonObject);
  EXPECT_EQ(Written(Json::Array()), "[]");
  EXPECT_EQ(Written(Json::Object()), "{}");
}

TEST(JsonValue, GrowsByAppending) {
  Json object = Json::Object();
  object.members.emplace_back("text", "x");
  object.members.emplace_back("number", 5);
  object.members.emplace_back("truth", true);
  object.members.push_back({"list", Json::Array()});
  object.members.back().second.items.push_back("implicit");
  object.members.back().second.items.push_back(Json());
  object.members.emplace_back("text", "again");
  EXPECT_EQ(Written(object),
            R"({"text":"x","number":5,"truth":true,"list":["implicit",null],"text":"again"})");
}

TEST(JsonValue, FindsTheFirstMemberByteForByte) {
  Json object = Json::Object();
  object.members.emplace_back("A", 1);
  object.members.emplace_back("a", 2);
  object.members.emplace_back(std::string("a\0", 2), 3);
  object.members.emplace_back("a", 4);
  object.members.emplace_back("", 5);
  EXPECT_EQ(object.Find("a"), &object.members[1].second);
  EXPECT_EQ(object.Find("A"), &object.members[0].second);
  EXPECT_EQ(object.Find(std::string_view("a\0", 2)), &object.members[2].second);
  EXPECT_EQ(object.Find(""), &object.members[4].second);
  EXPECT_EQ(object.Find("b"), nullptr);
  EXPECT_EQ(Json("a").Find("a"), nullptr);
  EXPECT_EQ(Json().Find(""), nullptr);
}

TEST(JsonValue, CopiesTheWholeTree) {
  const Json original = Sample();
  Json copy(original);
  EXPECT_EQ(Written(copy), kSampleText);
  copy.members[0].second.items[1].members[0].second.text = "changed";
  copy.members[1].second.members.clear();
  EXPECT_EQ(Written(original), kSampleText);

  Json assigned("something else");
  assigned = original;
  EXPECT_EQ(Written(assigned), kSampleText);
  EXPECT_EQ(Written(original), kSampleText);
}

TEST(JsonValue, CopiesFieldsThatTheKindDoesNotUse) {
  Json odd(7);
  odd.boolean = true;
  odd.items.emplace_back("in items");
  odd.items.push_back(Json::Array());
  odd.items[1].items.emplace_back(1);
  odd.members.emplace_back("k", "in members");
  const Json copy(odd);
  EXPECT_EQ(copy.kind, kJsonNumber);
  EXPECT_TRUE(copy.boolean);
  EXPECT_EQ(copy.number, 7);
  EXPECT_EQ(copy.text, "7");
  ASSERT_EQ(copy.items.size(), 2u);
  EXPECT_EQ(copy.items[0].text, "in items");
  EXPECT_EQ(copy.items[1].items.at(0).number, 1);
  ASSERT_EQ(copy.members.size(), 1u);
  EXPECT_EQ(copy.members[0].second.text, "in members");
}

TEST(JsonValue, LeavesANullValueBehindWhenMoved) {
  for (const char* text :
       {"null", "true", "1.5", "\"x\"", "\"a text that needs memory of its own\"", "[1,[2]]",
        "{\"a\":{\"b\":1}}"}) {
    Json source;
    ASSERT_TRUE(Parse(text, source));
    Json moved(std::move(source));
    EXPECT_EQ(Written(moved), text);
    ExpectNullAndEmpty(source);

    Json assigned = Sample();
    assigned = std::move(moved);
    EXPECT_EQ(Written(assigned), text);
    ExpectNullAndEmpty(moved);
  }
}

TEST(JsonValue, CanBeAssignedFromItsOwnParts) {
  Json value = Sample();
  value = value.members[0].second.items[1];
  EXPECT_EQ(Written(value), R"({"b":"a text that needs memory of its own","c":[true,null]})");
  value = std::move(value.members[1].second);
  EXPECT_EQ(Written(value), "[true,null]");
  value = std::move(value.items[0]);
  EXPECT_EQ(Written(value), "true");

  Json list;
  ASSERT_TRUE(Parse("[[[[\"deep\"]]]]", list));
  list = std::move(list.items[0].items[0]);
  EXPECT_EQ(Written(list), "[[\"deep\"]]");
  list.items[0] = list;  // copies a value into its own part
  EXPECT_EQ(Written(list), "[[[\"deep\"]]]");
  list = list.items[0].items[0].items[0];
  EXPECT_EQ(Written(list), "\"deep\"");
}

TEST(JsonValue, CanBeAssignedToItself) {
  Json value = Sample();
  Json& same = value;
  value = same;
  EXPECT_EQ(Written(value), kSampleText);
  value = std::move(same);
  EXPECT_EQ(Written(value), kSampleText);
}

TEST(JsonValue, Swaps) {
  Json one = Sample();
  Json other(2);
  std::swap(one, other);
  EXPECT_EQ(Written(one), "2");
  EXPECT_EQ(Written(other), kSampleText);
}

TEST(JsonValue, KeepsTheRestWhenAPartIsMovedAway) {
  Json value = Sample();
  const Json part = std::move(value.members[0].second);
  EXPECT_EQ(Written(part).substr(0, 4), "[1,{");
  EXPECT_EQ(Written(value), R"({"a":null,"k":{"x":{"y":["z"]}},"a":2})");
}

TEST(JsonValue, CanBeHeldUnderSharedOwnership) {
  auto shared = std::make_shared<const Json>(Sample());
  const std::shared_ptr<const Json> other = shared;
  shared.reset();
  EXPECT_EQ(Written(*other), kSampleText);
}

}  // namespace
}  // namespace wendra
