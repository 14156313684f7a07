#include "bridge/resolve_script.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

constexpr std::string_view kHead =
    "window.__wendra && window.__wendra.__resolve ? window.__wendra.__resolve('";

TEST(ResolveScript, IsTheGuardedCall) {
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

}  // namespace
}  // namespace wendra
