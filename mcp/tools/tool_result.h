// What the page gets of a server's response to tools/call. Pure.
#pragma once

#include "json/json.h"

namespace wendra {

// An object with `text` and, where there are any, `isError`, `structuredContent` and `images`; or
// with `error` alone, when the call failed. Content that a page cannot show becomes a short text in
// brackets; content of unknown types is left out.
Json ToolResult(Json reply);

// {"error": text}, which is how failures of a call reach the page.
Json ToolFailure(std::string_view text);

}  // namespace wendra
