// Converts tools and server names into the form that the page sees. Pure.
#pragma once

#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {

// The tools of a server's response to tools/list, in its order: an array of objects with `name`
// ("tool" if the server gives none) and, if the server gives them, `description` and `inputSchema`.
// Empty if the response lists no tools.
Json ToolList(Json reply);

// The form of a server's name that fits into the name of a tool: a to z, 0 to 9, "_" and "-". A to
// Z become lower case; every other character, however many bytes it has, becomes one "_".
std::string SafeServerName(std::string_view name);

}  // namespace wendra
