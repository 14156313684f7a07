// Converts a server's response to tools/call into the value that the page gets. Pure.
#pragma once

#include <string_view>

#include "json/json.h"

namespace wendra {

// An object with `text` and, if the response has them, `isError`, `structuredContent` and `images`;
// with `error` alone if the call failed. Content that a page cannot show becomes a short text in
// brackets; content of unknown types is left out.
Json ToolResult(Json reply);

// {"error": text}, the value that the page gets for a failed call.
Json ToolFailure(std::string_view text);

}  // namespace wendra
