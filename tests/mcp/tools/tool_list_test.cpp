#include "mcp/tools/tool_list.h"

#include <string>

#include <gtest/gtest.h>

namespace wendra {
namespace {

std::string Listed(const std::string& reply) {
  Json parsed;
  EXPECT_TRUE(Parse(reply, parsed)) << reply;
  std::string text;
  Serialize(ToolList(parsed), text);
  return text;
}

TEST(ToolList, KeepsTheMembersThatThePageMaySee) {
  const struct {
    const char* tools;
    const char* want;
  } cases[] = {
      {R"([])", R"([])"},
      {R"([{"name":"a"},{"name":"b"}])", R"([{"name":"a"},{"name":"b"}])"},
      {R"([{"inputSchema":{"type":"object","x":1.0},"title":"T","description":"d","name":"a"}])",
       R"([{"name":"a","description":"d","inputSchema":{"type":"object","x":1.0}}])"},
      {R"([{"name":"a","description":null,"inputSchema":true}])",
       R"([{"name":"a","description":null,"inputSchema":true}])"},
      {R"([{"name":""}])", R"([{"name":""}])"},
      {R"([{"name":5},{},"x",null])",
       R"([{"name":"tool"},{"name":"tool"},{"name":"tool"},{"name":"tool"}])"},
      {R"({"0":{"name":"a"}})", R"([])"},
      {R"("x")", R"([])"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Listed(std::string(R"({"result":{"tools":)") + c.tools + "}}"), c.want) << c.tools;
  }
}

TEST(ToolList, IsEmptyWhenTheResponseListsNoTools) {
  for (const char* reply : {"{}", R"({"result":{}})", R"({"result":[]})", R"({"tools":[{}]})"}) {
    EXPECT_EQ(Listed(reply), "[]") << reply;
  }
}

TEST(SafeServerName, KeepsTheCharactersThatFitIntoTheNameOfATool) {
  const struct {
    const char* name;
    const char* want;
  } cases[] = {{"", ""},
               {"abc-1_2", "abc-1_2"},
               {"ABC", "abc"},
               {"a b.c/d", "a_b_c_d"},
               {"grün 日", "gr_n__"}};
  for (const auto& c : cases) EXPECT_EQ(SafeServerName(c.name), c.want);
}

}  // namespace
}  // namespace wendra
