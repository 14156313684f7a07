// The JSON-RPC session with each MCP server: requests and their responses, time-outs, the
// handshake. Pure; knows transports and timers only as interfaces.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/log.h"
#include "json/json.h"
#include "mcp/request_timers.h"
#include "mcp/server.h"

namespace wendra {

// UI thread only. One for all servers: the ids of requests count through.
class McpSession {
 public:
  // Gets the whole response for its own, or {"error": {"message": …}} made here. Called exactly
  // once, unless the program ends first; may send, fail and reload whatever it likes.
  using OnReply = std::function<void(Json reply)>;
  using OnSent = std::function<void(std::uint32_t status)>;  // see OutgoingMessage
  // `failure` is null when the server is initialized, else the reply that says why it is not.
  using OnInitialized = std::function<void(const Json* failure)>;

  // Borrows both.
  McpSession(RequestTimers& timers, Log& log) : timers_(timers), log_(log) {}

  // A server that is not running answers at once with an error.
  void SendMcpRequest(McpServer& server, std::string_view method, Json params,
                      double timeoutSeconds, OnReply onReply);

  void SendMcpNotification(McpServer& server, std::string_view method, Json params,
                           std::uint32_t timeoutMs, OnSent onSent = {});

  // Runs `onInitialized` at once when the handshake is done, else after it. Whoever comes while it
  // goes on waits for the same one, in order; after a failure the next call tries again.
  void EnsureMcpInitialized(McpServer& server, OnInitialized onInitialized);

  // One incoming message. A text that is no JSON object is ignored, and so is one that holds more
  // than a million values: in memory each of them takes a hundred times its text. Where such a text
  // looks like the answer of a remote server, its request ends with "MCP server returned no
  // response": nothing else will come for it.
  void HandleMcpText(McpServer& server, std::string_view text);
  void HandleMcpMessage(McpServer& server, Json message);

  // Ends every waiting request of the server with an error of that text.
  void FailMcpPending(const McpServer& server, std::string_view text);

  // The server has been stopped: ends its waiting requests, and whoever waits for its handshake,
  // with "MCP server '" + name + "' was stopped".
  void OnStopped(McpServer& server);

  // The server has forgotten its session: the next operation makes a new handshake.
  void ForgetSession(McpServer& server);

  // Ends the request whose timer this is; an unknown one is ignored.
  void OnTimer(std::uint64_t timer);

  // At the end of the program: nothing times out any more, nobody is called.
  void KillTimers();

 private:
  struct Pending {
    const McpServer* server;  // borrowed, lives as long as the program
    std::string id;
    OnReply onReply;
  };

  void OnInitializeReply(McpServer& server, const Json& reply);
  void OnInitializedSent(McpServer& server, std::uint32_t status);
  void ReleaseWaiting(McpServer& server, const Json* failure);
  void Complete(std::uint64_t timer, Json reply);
  void EndUnusablyAnswered(const McpServer& server, std::string_view text);
  void Refuse(McpServer& server, const Json& id);

  RequestTimers& timers_;
  Log& log_;
  std::uint32_t lastRequestId_ = 0;
  std::uint64_t lastTimer_ = 100;             // timer 1 is the window's own
  std::map<std::uint64_t, Pending> pending_;  // by timer, so in the order of sending
  std::unordered_map<std::string, std::uint64_t> timerOfRequest_;
  // Who waits for the end of a handshake; there is an entry as long as it goes on.
  std::map<const McpServer*, std::vector<OnInitialized>> waiting_;
};

// {"error": {"message": text}}, the reply to a request that the server did not answer.
Json ErrorReply(std::string_view text);

}  // namespace wendra
