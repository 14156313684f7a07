// Fuzzes the responses of a server: the value that the page gets always has the promised shape.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "json/json.h"
#include "mcp/tools/tool_list.h"
#include "mcp/tools/tool_result.h"

namespace {

using namespace wendra;

using Keys = std::vector<std::string>;

void Require(bool holds) {
  if (!holds) std::abort();
}

bool Read(std::string_view text, Json& value) {
  try {
    return Parse(text, value);
  } catch (const std::out_of_range&) {
    return false;
  }
}

std::string TextOf(const Json& value) {
  std::string text;
  Serialize(value, text);
  return text;
}

// Requires that the members of `object` are some of `keys`, each once and in this order.
void RequireKeys(const Json& object, const Keys& keys) {
  Require(object.kind == kJsonObject);
  auto next = keys.begin();
  for (const auto& [key, value] : object.members) {
    next = std::find(next, keys.end(), key);
    Require(next != keys.end());
    ++next;
  }
}

const std::string& RequireText(const Json& object, std::string_view key) {
  const Json* value = object.Find(key);
  Require(value && value->kind == kJsonString);
  return value->text;
}

void RequireSame(const Json* copy, const Json* original) {
  Require(!copy == !original);
  if (copy) Require(TextOf(*copy) == TextOf(*original));
}

void RequireImages(const Json& images) {
  Require(images.kind == kJsonArray && !images.items.empty());
  for (const Json& image : images.items) {
    RequireKeys(image, {"mimeType", "data"});
    Require(RequireText(image, "mimeType").starts_with("image/"));
    RequireText(image, "data");
  }
}

void CheckResult(const Json& reply) {
  const Json result = ToolResult(reply);
  if (reply.Find("error")) {
    RequireKeys(result, {"error"});
    RequireText(result, "error");
    return;
  }
  RequireKeys(result, {"isError", "structuredContent", "text", "images"});
  RequireText(result, "text");
  if (const Json* isError = result.Find("isError")) Require(TextOf(*isError) == "true");
  if (const Json* images = result.Find("images")) RequireImages(*images);
  const Json* from = reply.Find("result");
  RequireSame(result.Find("structuredContent"), from ? from->Find("structuredContent") : nullptr);
}

void CheckList(const Json& reply) {
  const Json* result = reply.Find("result");
  const Json* tools = result ? result->Find("tools") : nullptr;
  const Json list = ToolList(reply);
  Require(list.kind == kJsonArray && list.items.size() == (tools ? tools->items.size() : 0));
  for (size_t i = 0; i < list.items.size(); ++i) {
    RequireKeys(list.items[i], {"name", "description", "inputSchema"});
    RequireText(list.items[i], "name");
    RequireSame(list.items[i].Find("description"), tools->items[i].Find("description"));
    RequireSame(list.items[i].Find("inputSchema"), tools->items[i].Find("inputSchema"));
  }
}

void CheckName(std::string_view name) {
  const std::string safe = SafeServerName(name);
  Require(safe.size() <= name.size() && SafeServerName(safe) == safe);
  Require(safe.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_-") == safe.npos);
}

}  // namespace

// Uses the input as a whole response, as the content of a result, as a list of tools and as a name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  CheckName(input);
  for (const char* start : {"", R"({"result":{"content":)", R"({"result":{"tools":)"}) {
    Json reply;
    if (!Read(start + std::string(input) + (*start ? "}}" : ""), reply)) continue;
    CheckResult(reply);
    CheckList(reply);
  }
  return 0;
}
