#include "mcp/tool_list.h"

#include <utility>

namespace wendra {
namespace {

void CopyMember(const Json& from, const char* key, Json& to) {
  if (const Json* value = from.Find(key)) to.members.emplace_back(key, *value);
}

Json ToolEntry(const Json& tool) {
  const Json* name = tool.Find("name");
  const bool hasName = name && name->kind == kJsonString;
  Json entry = Json::Object();
  entry.members.emplace_back("name", hasName ? name->text : "tool");
  CopyMember(tool, "description", entry);
  CopyMember(tool, "inputSchema", entry);
  return entry;
}

bool IsContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

Json ToolList(const Json& reply) {
  Json list = Json::Array();
  const Json* result = reply.Find("result");
  const Json* tools = result ? result->Find("tools") : nullptr;
  if (!tools) return list;
  list.items.reserve(tools->items.size());
  for (const Json& tool : tools->items) list.items.push_back(ToolEntry(tool));
  return list;
}

std::string SafeServerName(std::string_view name) {
  std::string safe;
  for (const char c : name) {
    const bool isSmall = (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    if (c >= 'A' && c <= 'Z') {
      safe += static_cast<char>(c - 'A' + 'a');
    } else if (isSmall) {
      safe += c;
    } else if (!IsContinuationByte(c)) {
      safe += '_';
    }
  }
  return safe;
}

}  // namespace wendra
