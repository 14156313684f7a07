// The way to one MCP server. Messages from the server come back through the Inbox, one JSON text at
// a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "mcp/session_end.h"

namespace wendra {

// One request or notification to a server.
struct OutgoingMessage {
  std::string text = {};        // compact JSON without a line end
  std::string requestId = {};   // "" for a notification
  std::uint32_t timeoutMs = 0;  // when it is over, nobody waits for the response any more
  // The sender waits until the server has the message: it sends nothing that depends on the message
  // before. See Transport::Send.
  bool reportsStatus = false;
};

// UI thread only. No function waits for the server.
class Transport {
 public:
  virtual ~Transport() = default;

  // A request that fails comes back as an error response to its id; any other message that fails is
  // dropped. A message that has not been sent within its time-out is dropped.
  // False, only for a message that reports its status: a PostStatus follows, and what is sent
  // before it may overtake the message. True: the transport keeps the order by itself.
  virtual bool Send(OutgoingMessage message) = 0;

  // Sends an error response to a request of the server. Reading from a server that does not take
  // the responses pauses while 64 of them wait.
  virtual void Refuse(std::string text) = 0;

  // The handshake has agreed on this version. It goes into the headers of a remote server.
  virtual void SetProtocolVersion(const std::string& /*version*/) {}

  // The handshake has completed: from here on the server may send messages by itself.
  virtual void OnInitialized() {}

  // The server does not know the session any more: session id and protocol version are cleared.
  virtual void ForgetSession() {}

  // Ends the connection and everything that was started for it. Once. Threads that still run
  // deliver nothing any more. Returns what still has to be sent; null: nothing.
  virtual std::shared_ptr<SessionEnd> Stop() = 0;
};

}  // namespace wendra
