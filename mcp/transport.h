// The way to one MCP server, as the session sees it. Messages from the server come back through
// the main window's message queue, one JSON text at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace wendra {

// One request or notification on its way to a server.
struct OutgoingMessage {
  std::string text;             // compact JSON without a line end
  std::string requestId;        // "" for a notification
  std::uint32_t timeoutMs = 0;  // afterwards nobody waits for what comes of it
  // Called once, on the UI thread, when the transport has done what it can for the order of
  // messages: what is sent from here on reaches the server later than this message. At once for a
  // transport that keeps order by itself; also when sending failed and after a stop. `status` is
  // the HTTP status of the message, 0 where there is none. May be empty.
  std::function<void(std::uint32_t status)> onSent;
};

// UI thread only; nothing here waits for the server, but for what says so.
class Transport {
 public:
  virtual ~Transport() = default;

  // A request that fails on the way comes back as an error response to its id; anything else that
  // fails is dropped. A message that has not been sent when its time-out is over is given up.
  virtual void Send(OutgoingMessage message) = 0;

  // Sends our error response to a request of the server. A server that does not take them is not
  // read from while 64 of them wait.
  virtual void Refuse(std::string text) = 0;

  // The window is through with a message of so many bytes that it was sent for this server.
  virtual void OnMessageHandled(size_t /*bytes*/) {}

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
