#include "bridge/resolve_script.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

constexpr std::string_view kHead =
    "window.__wendra && window.__wendra.__resolve ? window.__wendra.__resolve('";

TEST(ResolveScript, CallsTheResolveFunctionIfThePageHasOne) {
  const struct {
    std::string_view reqId;
    ReplyStatus status;
    std::string_view value, tail;
  } cases[] = {
      {"a", ReplyStatus::kSucceeded, "true", "a', 1, true) : 0;"},
      {"r1", ReplyStatus::kFailed, "\"no such file\"", "r1', 0, \"no such file\") : 0;"},
      {"", ReplyStatus::kSucceeded, "null", "', 1, null) : 0;"},
      {"x", ReplyStatus::kSucceeded, "{\"b\" : [1.50, \"\\u0001\"]}",
       "x', 1, {\"b\":[1.50,\"\\u0001\"]}) : 0;"},
      {"it's", ReplyStatus::kSucceeded, "0", "it's', 1, 0) : 0;"},  // the id is not escaped
      {"ü", ReplyStatus::kSucceeded, "\"\\u2028\\u2029é\"", "ü', 1, \"\\u2028\\u2029é\") : 0;"},
  };
  for (const auto& c : cases) {
    Json value;
    ASSERT_TRUE(Parse(c.value, value));
    EXPECT_EQ(ResolveScript(c.reqId, c.status, value), std::string(kHead).append(c.tail));
  }
}

std::string Nested(size_t depth, const std::string& inner = "") {
  return std::string(depth, '[') + inner + std::string(depth, ']');
}

TEST(ResolveScript, WrapsAValueThatAScriptWouldReadDifferentlyOrNotAtAll) {
  const struct {
    std::string value, written;
  } cases[] = {
      {R"({"__proto__":1})", R"(JSON.parse("{\"__proto__\":1}"))"},
      {R"({"a":1,"__proto__":{"b":[]}})", R"(JSON.parse("{\"a\":1,\"__proto__\":{\"b\":[]}}"))"},
      {R"({"__proto__":1,"__proto__":2})", R"(JSON.parse("{\"__proto__\":1,\"__proto__\":2}"))"},
      {R"([1,{"a":[{"\u005f_proto__":"x"}]}])",
       R"(JSON.parse("[1,{\"a\":[{\"__proto__\":\"x\"}]}]"))"},
      {R"([[{}],{"a":{},"__proto__":0}])", R"(JSON.parse("[[{}],{\"a\":{},\"__proto__\":0}]"))"},
      // All characters in the value are escaped twice: as JSON and as a string of the script.
      {R"({"__proto__":"\"\\\n\u2028é"})",
       R"(JSON.parse("{\"__proto__\":\"\\\"\\\\\\n\\u2028é\"}"))"},
      {Nested(1001), "JSON.parse(\"" + Nested(1001) + "\")"},
      {Nested(1000, "{}"), "JSON.parse(\"" + Nested(1000, "{}") + "\")"},
      {Nested(100'000), "JSON.parse(\"" + Nested(100'000) + "\")"},
      // These values are written as literals.
      {Nested(1000), Nested(1000)},
      {Nested(1000, "1"), Nested(1000, "1")},
      {"[" + Nested(999) + "," + Nested(999) + "]", "[" + Nested(999) + "," + Nested(999) + "]"},
      {R"("__proto__")", R"("__proto__")"},
      {R"(["__proto__",{"a":"__proto__"}])", R"(["__proto__",{"a":"__proto__"}])"},
      {R"({"__proto":1,"__proto__ ":2,"_proto__":3,"__PROTO__":4})",
       R"({"__proto":1,"__proto__ ":2,"_proto__":3,"__PROTO__":4})"},
      {"[]", "[]"},
      {"{}", "{}"},
  };
  for (const auto& c : cases) {
    Json value;
    ASSERT_TRUE(Parse(c.value, value)) << c.value;
    EXPECT_EQ(ResolveScript("r", ReplyStatus::kSucceeded, value),
              std::string(kHead) + "r', 1, " + c.written + ") : 0;")
        << c.value.substr(0, 100);
  }
}

}  // namespace
}  // namespace wendra
