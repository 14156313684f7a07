// Starts the child process of a local MCP server.
#pragma once

#include <optional>

#include "base/log.h"
#include "config/settings.h"
#include "mcp/stdio/child.h"

namespace wendra {

// Starts `settings.command` in the user's profile folder and logs the outcome. If that file is no
// Windows program (such as the shell script "npx" beside "npx.cmd"), starts the first file beside
// it that has the same name and an extension of PATHEXT, and stores its path in `settings.command`.
// Nothing: the server could not be started. UI thread.
std::optional<McpChild> StartStdioServer(ServerSettings& settings, Log& log);

}  // namespace wendra
