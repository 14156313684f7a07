// The MCP client as the window and the page's actions see it: servers, session, time-outs.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "base/log.h"
#include "config/config_file_win.h"
#include "config/config_watch_win.h"
#include "mcp/http/http_link_win.h"
#include "mcp/registry_win.h"
#include "mcp/request_timers.h"
#include "mcp/session.h"

#include <windows.h>

namespace wendra {

// UI thread only.
class McpClient {
 public:
  // Borrows both.
  McpClient(ConfigFile& config, Log& log);

  // Starts the servers; `window` gets their messages and the timers, until Stop.
  void Start(HWND window);

  // In this order: no request times out any more, each server is stopped in the order of the list.
  // Requests that wait are dropped without an answer.
  void Stop();

  // After Stop and after the message loop, when the user sees nothing any more: lets remote servers
  // hear that their sessions are over. Returns as soon as they have, at the latest after 1.5 s.
  void WaitForFarewells();

  // Stops what runs, ends what waits for it, and starts what config.json lists now. While another
  // program keeps config.json from being read there are none; CheckMcpConfigChanged starts them as
  // soon as it can be read.
  void LoadMcpServers();

  // Reloads the servers when config.json has been written since the last look and holds a JSON
  // object. True then: the page is to be told. A file that cannot be read is looked at again with
  // the next call, and the servers stay.
  bool CheckMcpConfigChanged();

  // What the window was sent. A message of a server that has been stopped is dropped.
  void OnMessage(McpServer& server, std::unique_ptr<std::string> text);
  void OnClosed(McpServer& server);
  // Messages to remote servers have got their status, or will get none.
  void OnHttpPosted();
  // A timer that is no request's is ignored.
  void OnTimer(std::uint64_t id) { session_.OnTimer(id); }

  McpRegistry& Registry() { return registry_; }
  McpSession& Session() { return session_; }

 private:
  class WindowTimers : public RequestTimers {
   public:
    bool Start(std::uint64_t id, std::uint32_t periodMs) override;
    void Kill(std::uint64_t id) override;
    HWND window = nullptr;
  };

  void LookAgain();

  ConfigFile& config_;
  Log& log_;
  HWND window_ = nullptr;
  WindowTimers timers_;
  McpRegistry registry_;
  McpSession session_;
  std::optional<ConfigWatch> watch_;  // from Start on
  bool hasSaidUnreadable_ = false;    // of config.json, since it was last read
};

}  // namespace wendra
