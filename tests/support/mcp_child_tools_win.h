// The correct responses of the MCP server mcp_child, and its tools.
//
// Each tool gives one text:
//   echo {text}   the text of the argument
//   fill {bytes}  a text of that many x
//   env {name}    the value of that environment variable; "" if it is not set
//   args {}       the words of the server's command line, one on each line
//   cwd {}        the current folder of the server
#pragma once

#include <string>
#include <vector>

#include "json/json.h"

namespace wendra {

using Words = std::vector<std::string>;

// The result for the request "tools/list" or "tools/call"; for every other, that of "initialize".
// `words` are the words of the command line.
Json UsualResult(const Json& request, const Words& words);

}  // namespace wendra
