#include "mcp/tools/tool_list.h"

#include <utility>

#include "json/objects.h"

namespace wendra {
namespace {

void MoveMember(Json& from, const char* key, Json& to) {
  if (Json* value = from.Find(key)) to.members.emplace_back(key, std::move(*value));
}

Json ToolEntry(Json& tool) {
  const std::string* name = FindString(tool, "name");
  Json entry = MakeObject({{"name", name ? *name : "tool"}});
  MoveMember(tool, "description", entry);
  MoveMember(tool, "inputSchema", entry);
  return entry;
}

bool IsContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

Json ToolList(Json reply) {
  Json list = Json::Array();
  Json* result = reply.Find("result");
  Json* tools = result ? result->Find("tools") : nullptr;
  if (!tools) return list;
  list.items.reserve(tools->items.size());
  for (Json& tool : tools->items) list.items.push_back(ToolEntry(tool));
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
