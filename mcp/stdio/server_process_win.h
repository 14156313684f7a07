// Starts the child process of a local MCP server.
#pragma once

#include <optional>

#include "base/log.h"
#include "mcp/server.h"
#include "win/unique.h"

namespace wendra {

// Our ends of a running server. Closing `job` ends the child with all that it has started; the
// system does so itself when the host ends, however it ends. Where the system refuses the job, only
// the child itself can be ended.
struct ServerProcess {
  KernelHandle job;
  bool isInJob = false;
  KernelHandle process;
  KernelHandle input;   // we write
  KernelHandle output;  // we read
  KernelHandle error;   // we read
};

// Starts `server.command` in the user's profile folder and logs the outcome. When that file is no
// program, as the shell script "npx" beside "npx.cmd" is none, starts what lies beside it with an
// extension of programs instead and keeps that as `server.command`. UI thread.
std::optional<ServerProcess> StartServerProcess(McpServer& server, Log& log);

}  // namespace wendra
