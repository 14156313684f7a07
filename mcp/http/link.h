// What the transport of one remote server shares with its threads. Pure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/http_exchange.h"
#include "base/lock.h"
#include "mcp/flow_control.h"
#include "mcp/inbox.h"
#include "config/settings.h"

namespace wendra {

// Any thread, except where a function says otherwise. No function waits for the network.
class HttpLink {
 public:
  struct Session {
    std::string id;               // "" when there is none
    std::string protocolVersion;  // "" before the handshake
  };

  HttpLink(ServerId server, const ServerSettings& settings, std::shared_ptr<FlowControl> flow,
           MakeHttpExchange makeExchange);

  // A request to the server with these headers; the configured headers follow them.
  HttpRequest Request(std::string method, NamedValues headers, HttpTimeouts timeouts) const;

  Session CurrentSession() const;

  // A response of the server has carried the session id `id`: the last one to come counts, also
  // when it repeats an older one. "" changes nothing.
  void StoreSessionId(std::string id);

  // The server does not know `session` any more. False when it was over already.
  bool ForgetSession(const Session& session);
  void ForgetAnySession();

  void SetProtocolVersion(std::string version);

  // Deliver to the UI thread. Worker threads only, since they wait: while too many messages have
  // not been handled, or the inbox is full.
  void Deliver(std::string message);        // dropped once the server is stopped
  void DeliverIfRoom(std::string message);  // dropped instead of waiting for room
  void DeliverStatus(PostStatus status);

  // UI thread only; does not wait.
  void DeliverAtOnce(std::string message);

  // Counts a refusal of so many bytes.
  FlowControl::Refusal AddRefusal(std::size_t bytes) { return flow_->AddRefusal(server_, bytes); }

  // Ends every exchange and all waiting, now and later.
  void Stop();

  // From here on the server may send messages by itself.
  void OpenForListening();

  // Wait for OpenForListening, and for a pause. False: the server has been stopped.
  bool WaitForHandshake();
  bool Pause(std::uint32_t pauseMs);

  // An exchange that Stop does not end.
  std::unique_ptr<HttpExchange> MakeExchange() const { return makeExchange_(); }

 private:
  friend class LinkedExchange;

  const ServerId server_;
  const std::string url_;
  const NamedValues headers_;
  const std::shared_ptr<FlowControl> flow_;
  const MakeHttpExchange makeExchange_;

  mutable Lock lock_;
  Condition changed_;
  Session session_;
  bool isStopped_ = false;
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

  HttpExchange& operator*() { return *exchange_; }
  HttpExchange* operator->() { return exchange_.get(); }

 private:
  HttpLink& link_;
  const std::unique_ptr<HttpExchange> exchange_;
};

}  // namespace wendra
