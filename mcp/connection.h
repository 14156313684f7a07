// One MCP server: its settings, its state, its handshake and its pending requests. Pure; knows
// transports and timers only as interfaces.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/log.h"
#include "json/json.h"
#include "mcp/inbox.h"
#include "mcp/request_timers.h"
#include "config/settings.h"
#include "mcp/session_end.h"
#include "mcp/transport.h"

namespace wendra {

// The counters that all connections share: no two requests, of any servers, have the same id or the
// same timer.
struct RequestNumbers {
  std::uint32_t lastRequestId = 0;
  std::uint64_t lastTimer = 100;  // the window's own timers have ids up to 100
};

// UI thread only.
//
// A callback may do anything, even remove this connection from its client. So the caller of a
// function that may call back holds the connection by a shared_ptr.
class Connection {
 public:
  // Gets the whole response, or {"error": {"message": …}} made by this class. Called exactly once,
  // unless the program ends first.
  using OnReply = std::function<void(Json reply)>;
  // `failure` is null when the handshake has completed, otherwise the reply that says why it
  // failed.
  using OnInitialized = std::function<void(const Json* failure)>;

  enum class State {
    kNotRunning,    // could not be started, was stopped, or its output has ended
    kStarted,       // the transport can be used
    kInitializing,  // the handshake is under way
    kConfirming,    // the server has responded; its last notification is being sent
    kReady,         // the handshake has completed
  };

  // `transport` is null if the server could not be started. Borrows the rest.
  Connection(ServerId id, ServerSettings settings, std::unique_ptr<Transport> transport,
             RequestNumbers& numbers, RequestTimers& timers, Log& log);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() { KillTimers(); }

  ServerId Id() const { return id_; }
  const ServerSettings& Settings() const { return settings_; }
  bool IsRunning() const { return state_ != State::kNotRunning; }

  // Sends a request as soon as the handshake has completed; makes the handshake first if needed.
  // Calls one of the two: `onReply` as SendMcpRequest does, or `onNotReady` with the reply that
  // says why the handshake failed.
  void RequestWhenReady(std::string_view method, Json params, double timeoutSeconds,
                        OnReply onReply, OnReply onNotReady);

  // Sends a request at once. If the server is not running, calls `onReply` with an error before it
  // returns.
  void SendMcpRequest(std::string_view method, Json params, double timeoutSeconds, OnReply onReply);

  // Sends a notification, if the server is running. Result as in Transport::Send: after false,
  // OnPosted brings the status. `timeoutMs` limits the exchange with a remote server; a local
  // server gets the notification however late it is.
  bool SendMcpNotification(std::string_view method, Json params, std::uint32_t timeoutMs);

  // Calls `onInitialized` at once if the handshake has completed, otherwise after it. Callers
  // during a handshake wait for that handshake, in order. After a failed handshake the next call
  // makes a new one.
  void EnsureMcpInitialized(OnInitialized onInitialized);

  // One message of the server. A text that is not a JSON object is ignored, and so is a text of
  // more than 1,000,000 values: in memory a value takes a hundred times its text. If such a text
  // looks like the response of a remote server to a request, the request ends with "MCP server
  // returned no response", since no other response will come.
  void HandleMcpText(std::string_view text);
  void HandleMcpMessage(Json message);

  // The output of a local server has ended.
  void OnClosed();

  // The status of a message to a remote server.
  void OnPosted(const PostStatus& posted);

  // Ends the request whose timer this is. False: no request here has this timer.
  bool OnTimer(std::uint64_t timer);

  // Ends every pending request with an error that holds `text`.
  void FailMcpPending(std::string_view text);

  // Stops the transport; pending requests stay. Returns what Transport::Stop returns.
  std::shared_ptr<SessionEnd> Stop();

  // After Stop: ends the pending requests, and the callers that wait for the handshake, with
  // "MCP server '" + name + "' was stopped".
  void FailStopped();

  // At the end of the program: kills the timers and drops the pending callbacks without a call.
  void KillTimers();

 private:
  struct Pending {
    std::string id;
    OnReply onReply;
  };

  void OnInitializeReply(const Json& reply);
  void OnConfirmed(std::uint32_t status);
  void EndHandshake(State state, const Json* failure);
  void ForgetSession();
  void Complete(std::uint64_t timer, Json reply);
  void EndUnusablyAnswered(std::string_view text);
  void Refuse(const Json& id);

  const ServerId id_;
  const ServerSettings settings_;
  State state_;
  const std::unique_ptr<Transport> transport_;
  RequestNumbers& numbers_;
  RequestTimers& timers_;
  Log& log_;
  std::map<std::uint64_t, Pending> pending_;  // by timer, which is the order of sending
  std::unordered_map<std::string, std::uint64_t> timerOfRequest_;
  std::vector<OnInitialized> waiting_;  // for the end of the handshake
};

}  // namespace wendra
