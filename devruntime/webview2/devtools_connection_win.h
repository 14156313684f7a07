// A connection to one browser by the DevTools protocol: numbered calls, their replies, and events.
//
// The connection has one thread, which connects, receives, and runs every callback for a reply or
// an event, one at a time. Callbacks must not block: all others wait behind them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/lock.h"
#include "devruntime/base/event_file_win.h"
#include "devruntime/webview2/settings_win.h"
#include "devruntime/webview2/web_socket_win.h"
#include "json/json.h"

namespace wendra {

class DevToolsConnection : public std::enable_shared_from_this<DevToolsConnection> {
 public:
  // Gets the reply's `result`; null when the browser refuses or the connection is gone.
  using Reply = std::function<void(const Json* result)>;
  struct Listener {
    std::function<void(std::string_view method, Json& params)> onEvent;
    std::function<void()> onClosed;  // once, after the last event
  };

  // Waits for the browser and connects, on the connection's own thread. That thread calls
  // `onConnected` once; false when the browser has not appeared within the time in `settings`.
  static std::shared_ptr<DevToolsConnection> Start(const ControlSettings& settings,
                                                   std::function<void(bool)> onConnected);

  // Any thread. Calls of one thread reach the browser in their order. Without a connection `reply`
  // is called with null before this returns.
  void Call(std::string_view sessionId, std::string_view method, const Json& params,
            Reply reply = {});

  // The events of one page session; the id "" stands for the browser itself. Any thread.
  void Listen(const std::string& sessionId, Listener listener);
  void StopListening(const std::string& sessionId);

  // Completes every pending call of that session with null. Any thread.
  void Abandon(const std::string& sessionId);

  // Ends the connection; the listeners' `onClosed` follow. Any thread.
  void Close();

  // Blocks until connecting has succeeded or failed. True: it has succeeded.
  bool WaitUntilConnected();

  bool IsOpen();  // any thread

  // Like "156.0.1.2"; "" before the connection is open. Any thread.
  std::string BrowserVersion();

 private:
  enum class State { kConnecting, kOpen, kGone };
  struct Pending {
    std::string sessionId;
    Reply reply;
  };

  void Run(const ControlSettings& settings, std::function<void(bool)> onConnected);
  bool Connect(const ControlSettings& settings);
  void SetState(State state);
  std::int64_t Register(std::string_view sessionId, Reply& reply);
  void Trace(const char* direction, std::string_view message);
  void Dispatch(std::string_view message);
  void DispatchReply(std::int64_t id, const Json& message);
  void DispatchEvent(Json& message);
  void FailEverything();

  WebSocket socket_;
  std::unique_ptr<const EventFile> trace_;  // null for none; set before the connection is open

  Lock lock_;  // guards the members below
  Condition stateChanged_;
  State state_ = State::kConnecting;
  std::int64_t lastId_ = 0;
  std::unordered_map<std::int64_t, Pending> pending_;
  std::unordered_map<std::string, std::shared_ptr<const Listener>> listeners_;
  std::string browserVersion_;
};

}  // namespace wendra
