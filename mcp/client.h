// The MCP client: loads the servers that config.json lists, reloads and stops them, and hands their
// messages to their connections. Pure.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/log.h"
#include "config/config_store.h"
#include "config/config_watch.h"
#include "mcp/connection.h"
#include "mcp/flow_control.h"
#include "mcp/inbox.h"
#include "mcp/request_timers.h"
#include "config/settings.h"
#include "mcp/session_end.h"
#include "mcp/transport.h"

namespace wendra {

// What the client needs of the system to reach servers. UI thread only.
class ServerStarter {
 public:
  virtual ~ServerStarter() = default;

  // The full path of the file that a command names; "" when there is none.
  virtual std::string ResolveCommand(const std::string& command) = 0;

  // Starts the server and logs the outcome. May change `settings.command` to the file that it has
  // started. Null: the server could not be started.
  virtual std::unique_ptr<Transport> Start(ServerId id, ServerSettings& settings,
                                           const std::shared_ptr<FlowControl>& flow) = 0;
};

// UI thread only.
class McpClient {
 public:
  using Connections = std::vector<std::shared_ptr<Connection>>;

  // Borrows all.
  McpClient(ConfigStore& config, ServerStarter& starter, RequestTimers& timers, Log& log);
  McpClient(const McpClient&) = delete;
  McpClient& operator=(const McpClient&) = delete;

  // Loads the servers. Their messages go to `inbox`, and from there to the functions below.
  void Start(std::shared_ptr<Inbox> inbox);

  // At the end of the program. First no request times out any more, then each server is stopped, in
  // the order of config.json. Pending requests are dropped without an answer.
  void Stop();

  // After Stop: waits until remote servers have been told that their sessions are over, at most
  // 1.5 seconds in all.
  void WaitForSessionEnds();

  // Stops the servers, ends the requests that wait for them, and starts what config.json lists now.
  // If the file cannot be read there are none; then CheckMcpConfigChanged loads them as soon as it
  // can be read.
  void LoadMcpServers();

  // Reloads the servers when config.json has been written since the last look and holds a JSON
  // object. True then: the page is to be told. If the file cannot be read, the servers stay, and
  // the next call looks at it again.
  bool CheckMcpConfigChanged();

  // In the order of config.json, with those that could not be started. A copy keeps them alive.
  const Connections& Servers() const { return connections_; }

  // What came through the inbox. Messages of servers that are gone are dropped.
  void OnText(ServerId server, const std::string& text);
  void OnClosed(ServerId server);
  void OnPosted(ServerId server, const PostStatus& status);

  // A timer that belongs to no request is ignored.
  void OnTimer(std::uint64_t timer);

 private:
  std::shared_ptr<Connection> Find(ServerId server) const;
  void StopServers();
  bool StartServers();
  void StartFrom(const std::string& configText);
  void Add(ServerSettings settings);
  void LookAgain();

  ConfigStore& config_;
  ServerStarter& starter_;
  RequestTimers& timers_;
  Log& log_;
  std::shared_ptr<FlowControl> flow_;  // from Start on
  RequestNumbers numbers_;
  std::uint64_t lastServerId_ = 0;
  Connections connections_;
  std::vector<std::shared_ptr<SessionEnd>> sessionEnds_;  // of stopped servers
  std::optional<ConfigWatch> watch_;                      // from Start on
  bool hasSaidUnreadable_ = false;                        // of config.json, since it was last read
};

}  // namespace wendra
