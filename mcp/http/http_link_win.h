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

// A message has got its status, or will get none.
struct HttpPosted {
  McpServer* server = nullptr;  // borrowed, lives until the program ends
  std::uint32_t status = 0;     // 0: none
  bool sessionIsOver = false;   // the server does not know the session any more
  std::function<void(std::uint32_t status)> onSent;  // of the message; may be empty
};

// The way of HttpPosted to the UI thread. kHttpPostedMessage only wakes it: a message without a
// payload is harmless, whoever posts it.
class HttpPostedQueue {
 public:
  // Worker threads only, since it waits while the window's queue is full.
  void Deliver(HWND window, HttpPosted posted);

  std::vector<HttpPosted> TakeAll();  // in order of delivery

 private:
  Lock lock_;
  std::vector<HttpPosted> posted_;
};

// Any thread, but for what says otherwise. Nothing here waits for the network.
class HttpLink {
 public:
  struct Session {
    std::string id;               // "" when there is none
    std::string protocolVersion;  // "" before the handshake
  };

  // `server` lives until the program ends; `window` gets the messages.
  HttpLink(McpServer& server, HWND window, std::shared_ptr<Backlog> backlog,
           std::shared_ptr<HttpPostedQueue> posted);

  // A request to the server with the headers that are listed for it; the configured ones follow
  // them.
  HttpRequest Request(const wchar_t* verb, NamedValues headers, HttpTimeouts timeouts) const;

  Session CurrentSession() const;

  // A response of the server has carried the session id `id`: the last one to come counts, also
  // when it repeats an older one. "" changes nothing.
  void StoreSessionId(std::string id);

  // The server does not know `session` any more. False when it was over already.
  bool ForgetSession(const Session& session);

  // Post to the window. Worker threads only, since they wait while too many messages have not been
  // handled, or the window's queue is full.
  void Deliver(std::string message);        // nothing once the server is stopped
  void DeliverIfRoom(std::string message);  // dropped instead of waiting for others to be handled
  void DeliverPosted(HttpPosted posted);    // also when it is stopped

  // UI thread only; does not wait.
  void DeliverAtOnce(std::string message);

  // Counts a refusal of so many bytes.
  Backlog::Refusal AddRefusal(size_t bytes) { return backlog_->AddRefusal(bytes, share_); }

  // The window is through with a message of so many bytes.
  void OnMessageHandled(size_t bytes) { backlog_->Remove(bytes, *share_); }

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
  const std::shared_ptr<Backlog::Share> share_ = std::make_shared<Backlog::Share>();
  const std::shared_ptr<HttpPostedQueue> posted_;

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

  HttpExchange& operator*() { return exchange_; }
  HttpExchange* operator->() { return &exchange_; }

 private:
  HttpLink& link_;
  HttpExchange exchange_;
};

}  // namespace wendra
