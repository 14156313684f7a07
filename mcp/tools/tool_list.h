// How the page sees servers and their tools. Pure.
#pragma once

#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {

// The tools of a server's response to tools/list, in its order: an array of objects with `name`
// ("tool" where the server gives none) and, where the server gives them, `description` and
// `inputSchema`. Empty when the response lists none.
Json ToolList(Json reply);

// The form of a server's name that fits into the name of a tool: a to z, 0 to 9, "_" and "-".
// Capitals become small, every other character becomes "_".
std::string SafeServerName(std::string_view name);

}  // namespace wendra
