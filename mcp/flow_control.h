// Flow control: how much of what the MCP servers send may wait for the UI thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "base/lock.h"
#include "mcp/inbox.h"

namespace wendra {

// Makes the threads that read from the servers wait when the servers send faster than the UI thread
// handles.
//
// All servers together: Windows gives a window its input, its painting, its timers and the request
// to close only when no posted message is left. So at most 256 KiB of all servers' messages wait;
// at the limit every reader waits until all of it has been handled.
//
// Each server by itself: the host refuses a server's requests, and a refusal that cannot be sent
// stays in memory. So the messages that have not been handled and the refusals that have not been
// sent count together, and at 256 KiB the reader of that server waits until there is room.
//
// Each message and each refusal counts with 4 KiB for itself. Any thread; shared with the readers.
class FlowControl : public std::enable_shared_from_this<FlowControl> {
 public:
  // Counts for one refusal until it is destroyed. Any thread.
  using Refusal = std::shared_ptr<const void>;

  explicit FlowControl(std::shared_ptr<Inbox> inbox) : inbox_(std::move(inbox)) {}
  FlowControl(const FlowControl&) = delete;
  FlowControl& operator=(const FlowControl&) = delete;

  // From here on the server's messages are delivered.
  void Open(ServerId server);

  // Its messages are dropped, and no reader of it waits any more.
  void Close(ServerId server);

  // Delivers a message of the server when there is room. Worker threads only: waits.
  void Deliver(ServerId server, std::string message);

  // The same, but drops the message when there is no room. Worker threads only: waits while the
  // inbox is full.
  void DeliverIfRoom(ServerId server, std::string message);

  // The same for the UI thread: delivers also when there is no room. Does not wait.
  void DeliverAtOnce(ServerId server, std::string message);

  // The UI thread has handled a message of so many bytes, or dropped it.
  void OnHandled(ServerId server, std::size_t bytes);

  // A refusal of so many bytes waits to be sent.
  Refusal AddRefusal(ServerId server, std::size_t bytes);

  // The way of everything that is not counted.
  Inbox& Uncounted() { return *inbox_; }

 private:
  bool WaitForRoom(ServerId server);
  bool HasRoom(ServerId server) const;
  void Count(ServerId server, std::size_t bytes);
  void ForgetOfServer(ServerId server, std::size_t bytes);

  const std::shared_ptr<Inbox> inbox_;
  Lock lock_;
  Condition changed_;
  std::map<ServerId, std::size_t> bytesOfServer_;  // of those that are open
  std::size_t waitingBytes_ = 0;                   // messages of all servers
  bool isFull_ = false;                            // from the limit on until nothing waits
  std::uint64_t timesEmptied_ = 0;                 // after being full
};

}  // namespace wendra
