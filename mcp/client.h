// The MCP client: loads, reloads and stops the servers that config.json lists, and hands each
// server's messages to its connection. Pure.
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

  // The full path of the file that a command names; "" when there is no such file.
  virtual std::string ResolveCommand(const std::string& command) = 0;

  // Starts the server and logs the outcome. May change `settings.command` to the file that was
  // started. Null: the server could not be started.
  virtual std::unique_ptr<Transport> Start(ServerId id, ServerSettings& settings,
                                           const std::shared_ptr<FlowControl>& flow) = 0;
};

// UI thread only.
class McpClient {
 public:
  using Connections = std::vector<std::shared_ptr<Connection>>;

  // Borrows all arguments.
  McpClient(ConfigStore& config, ServerStarter& starter, RequestTimers& timers, Log& log);
  McpClient(const McpClient&) = delete;
  McpClient& operator=(const McpClient&) = delete;

  // Loads the servers. Their threads deliver to `inbox`. The UI thread takes the deliveries out and
  // calls OnText, OnClosed and OnPosted.
  void Start(std::shared_ptr<Inbox> inbox);

  // At the end of the program: kills the timers of all requests, then stops each server, in the
  // order of config.json. Pending requests get no reply. From here on the functions below start no
  // server.
  void Stop();

  // After Stop: waits until the DELETE requests of stopped remote servers have ended, at most 1.5
  // seconds in all.
  void WaitForSessionEnds();

  // Stops the servers, ends their pending requests, and starts the servers that config.json lists
  // now. If the file cannot be read, no server is started; CheckMcpConfigChanged then starts them
  // as soon as the file can be read.
  void LoadMcpServers();

  // Reloads the servers when config.json has been written since the last call and holds a JSON
  // object. True: the servers were reloaded, and the caller tells the page. If the file cannot be
  // read, the servers stay, and the next call tries again.
  bool CheckMcpConfigChanged();

  // In the order of config.json, including the servers that could not be started. A copy of the
  // list keeps them alive.
  const Connections& Servers() const { return connections_; }

  // Handle one delivery from the inbox. A delivery from a server that is no longer in the list is
  // dropped.
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
  bool isStopped_ = false;                                // by Stop
  bool hasSaidUnreadable_ = false;  // the log says that config.json could not be read
};

}  // namespace wendra
