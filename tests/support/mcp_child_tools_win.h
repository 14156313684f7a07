// What the server of mcp_child answers when it behaves.
//
// Its tools give one text each:
//   echo {text}   that text
//   fill {bytes}  so many x
//   env {name}    the environment variable; "" when it is not set
//   args {}       the words of its command line, one a line
//   cwd {}        its current folder
#pragma once

#include <string>
#include <vector>

#include "json/json.h"

namespace wendra {

using Words = std::vector<std::string>;

// The result for "initialize", "tools/list" or "tools/call". `words` are those of the command line.
Json UsualResult(const Json& request, const Words& words);

}  // namespace wendra
