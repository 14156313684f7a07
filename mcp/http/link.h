// The state that the transport of one remote server shares with its threads. Pure.
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

  // An HTTP response has brought the session id `id`. The last response counts, even if it repeats
  // an older id. "" changes nothing.
  void StoreSessionId(std::string id);

  // The server does not know `session` any more. False: it is not the present session.
  bool ForgetSession(const Session& session);
  // The same for the present session, whatever its id.
  void ForgetAnySession();

  void SetProtocolVersion(std::string version);

  // Deliver to the UI thread. Worker threads only: all three wait while the inbox is full.
  void Deliver(std::string message);        // waits for room, see FlowControl
  void DeliverIfRoom(std::string message);  // drops the message if there is no room
  void DeliverStatus(PostStatus status);    // needs no room

  // UI thread only; does not wait. Drops the message if the inbox is full.
  void DeliverAtOnce(std::string message);

  // Counts a refusal of `bytes` bytes; see FlowControl.
  FlowControl::Refusal AddRefusal(std::size_t bytes) { return flow_->AddRefusal(server_, bytes); }

  // Aborts every LinkedExchange and ends every wait below, also those that begin later.
  void Stop();

  // From here on the server may send messages by itself.
  void OpenForListening();

  // Wait for OpenForListening, or for `pauseMs` milliseconds. False: the server has been stopped.
  bool WaitForHandshake();
  bool Pause(std::uint32_t pauseMs);

  // An exchange that Stop does not abort.
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
  std::vector<HttpExchange*> exchanges_;  // borrowed from each LinkedExchange that lives
};

// An exchange that HttpLink::Stop aborts. One worker thread uses it.
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
