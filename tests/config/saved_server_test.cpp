#include "config/saved_server.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(WithSavedServer, MovesServerToTheEndAndKeepsTheRest) {
  constexpr std::string_view kUrl = "http://localhost:3000";
  const struct {
    const char* why;
    std::string_view before, after;
  } cases[] = {
      {"order kept, server last",
       "{\r\n \"mcpServers\": {\"a\": {\"x\": 1.50}},\r\n \"server\": \"old\", \"updateFeed\": "
       "\"f\"}",
       "{\"mcpServers\":{\"a\":{\"x\":1.50}},\"updateFeed\":\"f\","
       "\"server\":\"http://localhost:3000\"}\r\n"},
      {"every duplicate of the key goes", "{\"server\":1,\"b\":2,\"server\":3}",
       "{\"b\":2,\"server\":\"http://localhost:3000\"}\r\n"},
      {"the key is case-sensitive", "{\"Server\":1}",
       "{\"Server\":1,\"server\":\"http://localhost:3000\"}\r\n"},
      {"duplicates of other keys stay", "{\"a\":1,\"a\":2}",
       "{\"a\":1,\"a\":2,\"server\":\"http://localhost:3000\"}\r\n"},
      {"an array is given up", "[1,2]", "{\"server\":\"http://localhost:3000\"}\r\n"},
      {"broken text is given up", "{\"a\":", "{\"server\":\"http://localhost:3000\"}\r\n"},
      {"a number out of range is broken text", "{\"a\":1e400}",
       "{\"server\":\"http://localhost:3000\"}\r\n"},
      {"no text", "", "{\"server\":\"http://localhost:3000\"}\r\n"},
      {"the default content", "{\r\n  \"mcpServers\": {}\r\n}\r\n",
       "{\"mcpServers\":{},\"server\":\"http://localhost:3000\"}\r\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(WithSavedServer(c.before, kUrl), c.after) << c.why;
}

TEST(WithSavedServer, EscapesTheAddressAsAnyString) {
  EXPECT_EQ(WithSavedServer("", "http://localhost/\"ü\""),
            "{\"server\":\"http://localhost/\\\"ü\\\"\"}\r\n");
}

}  // namespace
}  // namespace wendra
