// Whatever a server answers to tools/call and tools/list, the page gets the shape that it expects.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "mcp/tool_list.h"
#include "mcp/tool_result.h"

namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

bool IsString(const wendra::Json* value) { return value && value->kind == wendra::kJsonString; }

void CheckResult(const wendra::Json& result) {
  if (result.Find("error"))
    return Check(IsString(result.Find("error")) && result.members.size() == 1);
  Check(IsString(result.Find("text")));
  const wendra::Json* images = result.Find("images");
  Check(!images || !images->items.empty());
  if (!images) return;
  for (const wendra::Json& image : images->items) {
    Check(IsString(image.Find("data")) && IsString(image.Find("mimeType")));
    Check(image.Find("mimeType")->text.starts_with("image/"));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  wendra::Json reply;
  try {
    if (!wendra::Parse({reinterpret_cast<const char*>(data), size}, reply)) return 0;
  } catch (const std::out_of_range&) {
    return 0;
  }
  CheckResult(wendra::ToolResult(reply));
  for (const wendra::Json& tool : wendra::ToolList(reply).items) {
    Check(IsString(tool.Find("name")));
  }
  return 0;
}
