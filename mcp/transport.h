// Sends messages to one MCP server. The server's messages come through the Inbox, one JSON text at
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
  std::uint32_t timeoutMs = 0;  // afterwards the caller does not need the response any more
  // The caller sends nothing that depends on this message before the server has it. See
  // Transport::Send.
  bool reportsStatus = false;
};

// UI thread only. No function waits for the server.
class Transport {
 public:
  virtual ~Transport() = default;

  // Gives the message to another thread, which sends it. If a request to a remote server fails, an
  // error response with its id comes through the Inbox; any other message that fails is dropped. A
  // message that is not sent within its time-out is dropped, except a notification to a local
  // server.
  //
  // The result matters only for a message that reports its status. False: a PostStatus follows, and
  // a message that is sent before it comes may overtake this one. True: no status follows, since
  // the transport keeps the order by itself or has dropped the message.
  virtual bool Send(OutgoingMessage message) = 0;

  // Sends an error response to a request of the server. FlowControl counts it until it is sent: the
  // host stops reading from a server that does not take these responses.
  virtual void Refuse(std::string text) = 0;

  // The server has chosen this version in the handshake. A remote server gets it in a header.
  virtual void SetProtocolVersion(const std::string& /*version*/) {}

  // The handshake has completed: from here on the server may send messages by itself.
  virtual void OnInitialized() {}

  // The server does not know the session any more: clears the session id and the protocol version.
  virtual void ForgetSession() {}

  // Ends the connection and everything that was started for it. Returns the end of the session,
  // which a thread still sends; null if there is none. A second call does nothing. Threads that
  // still run may deliver afterwards; FlowControl or the client drops that.
  virtual std::shared_ptr<SessionEnd> Stop() = 0;
};

}  // namespace wendra
