// Flow control: limits how many bytes of the MCP servers' messages may wait for the UI thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "base/lock.h"
#include "mcp/inbox.h"

namespace wendra {

// A reader is a thread that reads from a server. When the servers send faster than the UI thread
// handles, the readers wait.
//
// All servers together: Windows gives a window its input, its painting, its timers and the request
// to close only when no posted message is left. So as soon as 256 KiB of messages wait, every
// reader waits until the UI thread has handled all of them.
//
// Each server by itself: the host refuses a server's requests, and a refusal that cannot be sent
// stays in memory. So the unhandled messages and the unsent refusals of a server count together. At
// 256 KiB the readers of that server wait until there is room.
//
// Each message and each refusal counts as its bytes and 4 KiB more. Any thread; shared with the
// readers.
class FlowControl : public std::enable_shared_from_this<FlowControl> {
 public:
  // One refusal, which counts until this is destroyed. Any thread.
  using Refusal = std::shared_ptr<const void>;

  explicit FlowControl(std::shared_ptr<Inbox> inbox) : inbox_(std::move(inbox)) {}
  FlowControl(const FlowControl&) = delete;
  FlowControl& operator=(const FlowControl&) = delete;

  // From here on the server's messages are delivered.
  void Open(ServerId server);

  // From here on the server's messages are dropped, and its readers no longer wait for room.
  void Close(ServerId server);

  // Waits until there is room, then delivers. Worker threads only.
  void Deliver(ServerId server, std::string message);

  // Delivers if there is room, otherwise drops the message. Worker threads only: waits while the
  // inbox is full.
  void DeliverIfRoom(ServerId server, std::string message);

  // Delivers even if there is no room; drops the message if the inbox is full. For the UI thread:
  // does not wait.
  void DeliverAtOnce(ServerId server, std::string message);

  // The UI thread has handled or dropped a message of `bytes` bytes.
  void OnHandled(ServerId server, std::size_t bytes);

  // A refusal of `bytes` bytes waits to be sent.
  Refusal AddRefusal(ServerId server, std::size_t bytes);

  // For statuses and the ends of outputs, which are not counted.
  Inbox& Uncounted() { return *inbox_; }

 private:
  bool WaitForRoom(ServerId server);
  bool HasRoom(ServerId server) const;
  void Count(ServerId server, std::size_t bytes);
  void ForgetOfServer(ServerId server, std::size_t bytes);

  const std::shared_ptr<Inbox> inbox_;
  Lock lock_;
  Condition changed_;
  std::map<ServerId, std::size_t> bytesOfServer_;  // of each open server
  std::size_t waitingBytes_ = 0;                   // messages of all servers
  bool isFull_ = false;                            // from the limit until no message waits
  std::uint64_t timesEmptied_ = 0;                 // how often isFull_ has ended
};

}  // namespace wendra
