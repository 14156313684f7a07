// The DevTools protocol's session with one browser: numbered calls, their replies, and events.
//
// The connection has one thread, which connects, receives, and runs every reply and every event
// callback, one at a time. Callbacks must not block: everything else waits behind them.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "json/json.h"
#include "devruntime/webview2/event_file_win.h"
#include "json/objects.h"
#include "devruntime/webview2/settings_win.h"
#include "devruntime/webview2/web_socket_win.h"

namespace wendra {

class DevToolsConnection : public std::enable_shared_from_this<DevToolsConnection> {
 public:
  // Null: the browser refused, or the connection is gone. Otherwise the reply's `result`.
  using Reply = std::function<void(const Json* result)>;
  struct Listener {
    std::function<void(std::string_view method, Json& params)> onEvent;
    std::function<void()> onClosed;  // once, after the last event
  };

  // Waits for the browser and connects, on the connection's own thread. `onConnected` is called
  // there once, with false if there is no browser after the time that `settings` grants.
  static std::shared_ptr<DevToolsConnection> Start(const Settings& settings,
                                                   std::function<void(bool)> onConnected);

  // Any thread. Calls made on one thread reach the browser in their order. With the connection
  // gone `reply` is called with null before this returns.
  void Call(std::string_view sessionId, std::string_view method, const Json& params,
            Reply reply = {});

  // Events of one page session; the empty id is the browser itself. Any thread.
  void Listen(const std::string& sessionId, Listener listener);
  void StopListening(const std::string& sessionId);

  // Answers every call of that session which is still open with null. Any thread.
  void Abandon(const std::string& sessionId);

  // Ends the connection; listeners hear of it. Any thread.
  void Close();

  // Blocks until connecting has succeeded or failed; true if it has succeeded.
  bool WaitUntilConnected();

  bool IsOpen();  // any thread

  // Like "156.0.1.2"; "" before the connection stands. Any thread.
  std::string BrowserVersion();

 private:
  enum class State { kConnecting, kOpen, kGone };
  struct Pending {
    std::string sessionId;
    Reply reply;
  };

  void Run(const Settings& settings, std::function<void(bool)> onConnected);
  bool Connect(const Settings& settings);
  void SetState(State state);
  std::int64_t Register(std::string_view sessionId, Reply& reply);
  void Trace(const char* direction, std::string_view message);
  void Dispatch(std::string_view message);
  void DispatchReply(std::int64_t id, const Json& message);
  void DispatchEvent(Json& message);
  void FailEverything();

  WebSocket socket_;
  std::unique_ptr<const EventFile> trace_;  // null: none; set before the connection stands
  std::mutex mutex_;                        // guards what follows
  std::condition_variable stateChanged_;
  State state_ = State::kConnecting;
  std::int64_t lastId_ = 0;
  std::unordered_map<std::int64_t, Pending> pending_;
  std::unordered_map<std::string, std::shared_ptr<const Listener>> listeners_;
  std::string browserVersion_;
};

// The version in the text of a browser's `Browser` or `product` member, "Name/1.2.3.4".
std::string VersionOfProduct(std::string_view product);

}  // namespace wendra
