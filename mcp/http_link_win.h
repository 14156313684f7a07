// What the transport of one remote server and its threads share.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/backlog_win.h"
#include "mcp/server.h"
#include "win/http_request.h"
#include "win/lock.h"

#include <windows.h>

namespace wendra {

// Payload of kHttpPostedMessage: a message has got its status, or will get none.
struct HttpPosted {
  bool sessionIsOver = false;    // the server does not know the session any more
  std::function<void()> onSent;  // of the message; may be empty
};

// Any thread, but for what says otherwise. Nothing here waits for the network.
class HttpLink {
 public:
  struct Session {
    std::string id;               // "" when there is none
    std::string protocolVersion;  // "" before the handshake
  };

  // `server` lives until the program ends; `window` gets the messages.
  HttpLink(McpServer& server, HWND window, std::shared_ptr<Backlog> backlog);

  // A request to the server with the headers that are listed for it; the configured ones follow
  // them.
  HttpRequest Request(const wchar_t* verb, NamedValues headers, HttpTimeouts timeouts) const;

  Session CurrentSession() const;

  // The server has answered a message of `session` with the session id `id`. An id that it merely
  // repeats changes nothing: the session may have been replaced meanwhile.
  void StoreSessionId(const Session& session, std::string id);

  // The server does not know `session` any more. False when it was over already.
  bool ForgetSession(const Session& session);

  // Post to the window. Worker threads only, since they wait while too many messages have not been
  // handled, or the window's queue is full.
  void Deliver(std::string message);            // nothing once the server is stopped
  void DeliverPosted(HttpPosted posted) const;  // also when it is stopped

  // UI thread only; does not wait.
  void DeliverAtOnce(std::string message);

  // Ends every exchange and all waiting, now and later.
  void Stop();

  // From here on the server may speak by itself.
  void OpenForListening();

  // Wait for OpenForListening, and for a pause. False: the server has been stopped.
  bool WaitForHandshake();
  bool Pause(std::uint32_t pauseMs);

 private:
  friend class LinkedExchange;

  McpServer& server_;
  const std::string url_;
  const NamedValues headers_;
  const HWND window_;
  const std::shared_ptr<Backlog> backlog_;

  Lock lock_;
  Condition changed_;
  std::atomic<bool> isStopped_ = false;  // set under the lock
  bool isOpen_ = false;
  std::vector<HttpExchange*> exchanges_;  // under way
};

// An exchange that ends when its server is stopped. One worker thread.
class LinkedExchange {
 public:
  explicit LinkedExchange(HttpLink& link);
  ~LinkedExchange();
  LinkedExchange(const LinkedExchange&) = delete;
  LinkedExchange& operator=(const LinkedExchange&) = delete;

  HttpExchange* operator->() { return &exchange_; }

 private:
  HttpLink& link_;
  HttpExchange exchange_;
};

}  // namespace wendra
