// The MCP servers that config.json lists: reads it, starts them, stops them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/log.h"
#include "config/config_file_win.h"
#include "mcp/backlog_win.h"
#include "mcp/http/http_link_win.h"
#include "mcp/server.h"

#include <windows.h>

namespace wendra {

// UI thread only. Each outcome is a log line.
class McpRegistry {
 public:
  // Borrows both.
  McpRegistry(ConfigFile& config, Log& log) : config_(config), log_(log) {}
  ~McpRegistry();
  McpRegistry(const McpRegistry&) = delete;
  McpRegistry& operator=(const McpRegistry&) = delete;

  // Starts what config.json lists now, after StopMcpServers. `window` gets the servers' messages.
  // False: there is a file that could not be read, and so nothing was started.
  bool LoadMcpServers(HWND window);

  // In the order of the list; the list stays.
  void StopMcpServers();

  // Gives the last words to stopped remote servers that are still on their way at most `maxMs` in
  // all, and lets go of those that are through.
  void WaitForFarewells(std::uint32_t maxMs);

  // What has become of messages to remote servers since the last call, in order.
  std::vector<HttpPosted> TakePosted() { return posted_->TakeAll(); }

  // In the order of config.json; also those that could not be started.
  const std::vector<McpServer*>& Servers() const { return servers_; }

 private:
  void StopMcpServer(McpServer& server);
  void LoadFrom(const std::string& configText, HWND window);
  void Add(std::unique_ptr<McpServer> record, HWND window);

  ConfigFile& config_;
  Log& log_;
  const std::shared_ptr<Backlog> backlog_ = std::make_shared<Backlog>();
  const std::shared_ptr<HttpPostedQueue> posted_ = std::make_shared<HttpPostedQueue>();
  std::vector<McpServer*> servers_;
  // Every record since the start of the program: posted messages and waiting requests may name one
  // that is stopped.
  std::vector<std::unique_ptr<McpServer>> records_;
};

}  // namespace wendra
