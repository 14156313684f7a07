#include "bridge/resolve_script.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

constexpr std::string_view kHead =
    "window.__wendra && window.__wendra.__resolve ? window.__wendra.__resolve('";

TEST(ResolveScript, IsTheGuardedCall) {
  const struct {
    std::string_view reqId;
    Outcome outcome;
    std::string_view value, tail;
  } cases[] = {
      {"a", Outcome::kSucceeded, "true", "a', 1, true) : 0;"},
      {"r1", Outcome::kFailed, "\"no such file\"", "r1', 0, \"no such file\") : 0;"},
      {"", Outcome::kSucceeded, "null", "', 1, null) : 0;"},
      {"x", Outcome::kSucceeded, "{\"b\" : [1.50, \"\\u0001\"]}",
       "x', 1, {\"b\":[1.50,\"\\u0001\"]}) : 0;"},
      {"it's", Outcome::kSucceeded, "0", "it's', 1, 0) : 0;"},  // the id is not escaped
      {"ü", Outcome::kSucceeded, "\"\\u2028\\u2029é\"", "ü', 1, \"\\u2028\\u2029é\") : 0;"},
  };
  for (const auto& c : cases) {
    Json value;
    ASSERT_TRUE(Parse(c.value, value));
    EXPECT_EQ(ResolveScript(c.reqId, c.outcome, value), std::string(kHead).append(c.tail));
  }
}

}  // namespace
}  // namespace wendra
