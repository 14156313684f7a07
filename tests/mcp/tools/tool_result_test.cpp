#include "mcp/tools/tool_result.h"

#include <string>

#include <gtest/gtest.h>

namespace wendra {
namespace {

std::string Converted(const std::string& reply) {
  Json parsed;
  EXPECT_TRUE(Parse(reply, parsed)) << reply;
  std::string text;
  Serialize(ToolResult(parsed), text);
  return text;
}

TEST(ToolResult, ConvertsContent) {
  const struct {
    const char* content;
    const char* want;
  } cases[] = {
      {R"([])", R"({"text":""})"},
      {R"("x")", R"({"text":""})"},
      {R"([{"type":"text","text":"a"},{"type":"text","text":"b"}])", R"({"text":"a\nb"})"},
      {R"([{"type":"text","text":""},{"type":"text","text":""}])", R"({"text":"\n"})"},
      {R"([{"type":"text","text":5},{"type":"text"},{"text":"x"},5,null])", R"({"text":""})"},
      {R"([{"type":"audio","data":"x"},{"type":"","text":"x"}])", R"({"text":""})"},
      {R"([{"type":"image","data":"QQ==","mimeType":"image/gif"}])",
       R"({"text":"","images":[{"mimeType":"image/gif","data":"QQ=="}]})"},
      {R"([{"type":"image","data":"QQ=="}])",
       R"({"text":"","images":[{"mimeType":"image/png","data":"QQ=="}]})"},
      {R"([{"type":"image","data":"","mimeType":"application/octet-stream"}])",
       R"({"text":"","images":[{"mimeType":"image/png","data":""}]})"},
      {R"([{"type":"image","mimeType":"image/gif"},{"type":"image","data":1}])",
       R"({"text":"[image content could not be attached]\n[image content could not be attached]"})"},
      {R"([{"type":"resource","resource":{"text":"t","blob":"b"}}])", R"({"text":"t"})"},
      {R"([{"type":"resource","resource":{"blob":"b","mimeType":"image/webp"}}])",
       R"({"text":"","images":[{"mimeType":"image/webp","data":"b"}]})"},
      {R"([{"type":"resource","resource":{"blob":"b","mimeType":"application/pdf"}}])",
       R"({"text":"[binary resource: application/pdf]"})"},
      {R"([{"type":"resource","resource":{"blob":"b"}}])",
       R"({"text":"[binary resource: unknown type]"})"},
      {R"([{"type":"resource","resource":{}},{"type":"resource"}])",
       R"({"text":"[resource content]\n[resource content]"})"},
      {R"([{"type":"resource_link","name":"n","uri":"u"}])", R"({"text":"[resource link: n]"})"},
      {R"([{"type":"resource_link","name":"","uri":"u"}])", R"({"text":"[resource link: u]"})"},
      {R"([{"type":"resource_link","name":5,"uri":6}])", R"({"text":"[resource link: unknown]"})"},
      {R"([{"type":"image","data":"1"},{"type":"text","text":"t"},{"type":"image","data":"2"}])",
       R"({"text":"t","images":[{"mimeType":"image/png","data":"1"},{"mimeType":"image/png","data":"2"}]})"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Converted(std::string(R"({"result":{"content":)") + c.content + "}}"), c.want);
  }
}

TEST(ToolResult, CarriesFlagsAndFailures) {
  const struct {
    const char* reply;
    const char* want;
  } cases[] = {
      {R"({"result":{"isError":true,"content":[{"type":"text","text":"x"}]}})",
       R"({"isError":true,"text":"x"})"},
      {R"({"result":{"isError":false}})", R"({"text":""})"},
      {R"({"result":{"isError":"true"}})", R"({"text":""})"},
      {R"({"result":{"content":[],"structuredContent":{"a":[1e2,null]},"isError":true}})",
       R"({"isError":true,"structuredContent":{"a":[1e2,null]},"text":""})"},
      {R"({"result":{"structuredContent":null}})", R"({"structuredContent":null,"text":""})"},
      {R"({"result":5})", R"({"text":""})"},
      {R"({})", R"({"text":""})"},
      {R"({"error":{"message":"no"},"result":{}})", R"({"error":"no"})"},
      {R"({"error":{"message":""}})", R"({"error":""})"},
      {R"({"error":{"message":5}})", R"({"error":"MCP call failed"})"},
      {R"({"error":"text"})", R"({"error":"MCP call failed"})"},
      {R"({"error":null})", R"({"error":"MCP call failed"})"},
  };
  for (const auto& c : cases) EXPECT_EQ(Converted(c.reply), c.want) << c.reply;
}

}  // namespace
}  // namespace wendra
