// The way to one MCP server, as the session sees it. Messages from the server come back through
// the main window's message queue, one JSON text at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace wendra {

// One JSON-RPC message on its way to a server.
struct OutgoingMessage {
  std::string text;  // compact JSON without a line end
  // The id of our request; "" for a notification and for an answer to the server's request.
  std::string requestId;
  // Called once, on the UI thread, when the transport has done what it can for the order of
  // messages: what is sent from here on reaches the server later than this message. At once for a
  // transport that keeps order by itself; also when sending failed and after a stop. May be empty.
  std::function<void()> onSent;
};

// UI thread only; nothing here waits for the server, but for what says so.
class Transport {
 public:
  virtual ~Transport() = default;

  // A request that fails on the way comes back as an error response to its id; anything else that
  // fails is dropped.
  virtual void Send(OutgoingMessage message) = 0;

  // The handshake has completed: from here on the server may speak by itself.
  virtual void OnInitialized() {}

  // Ends the connection and everything that was started for it. Nothing is sent afterwards; threads
  // that still run only post messages, which are dropped. Once.
  virtual void Stop() = 0;

  // After Stop, any number of times: gives a last word to the server that is still on its way at
  // most `maxMs`. Once it is through, nothing of the connection is kept.
  virtual void WaitForFarewell(std::uint32_t /*maxMs*/) {}
};

}  // namespace wendra
