// Starts MCP servers on this system: local ones as child processes, remote ones over WinHTTP.
#pragma once

#include <memory>
#include <string>

#include "base/log.h"
#include "mcp/client.h"

namespace wendra {

// UI thread only.
class SystemServerStarter : public ServerStarter {
 public:
  // Borrows `log`. The servers' threads use it as long as they run.
  explicit SystemServerStarter(Log& log) : log_(log) {}

  std::string ResolveCommand(const std::string& command) override;
  std::unique_ptr<Transport> Start(ServerId id, ServerSettings& settings,
                                   const std::shared_ptr<FlowControl>& flow) override;

 private:
  Log& log_;
};

}  // namespace wendra
