// Starts the child process of a local MCP server.
#pragma once

#include <optional>

#include "base/log.h"
#include "config/settings.h"
#include "mcp/stdio/child.h"

namespace wendra {

// Starts `settings.command` in the user's profile folder and logs the outcome. If that file is not
// a program, as the shell script "npx" beside "npx.cmd" is not, starts the file beside it with an
// extension of programs instead, and stores that in `settings.command`. UI thread.
std::optional<McpChild> StartStdioServer(ServerSettings& settings, Log& log);

}  // namespace wendra
