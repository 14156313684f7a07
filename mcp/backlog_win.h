// How much of what the MCP servers have said the host is not yet through with.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "win/lock.h"

#include <windows.h>

namespace wendra {

// Holds up servers that speak faster than they are heard, by making their reading threads wait.
//
// All servers together: the system gives a window its keyboard, its painting, its timers and the
// wish to close only when nothing is left that was posted. So all servers share one backlog, and it
// is emptied before it is filled again.
//
// Each server by itself: a request of a server is refused, and a refusal that cannot be sent stays
// in memory. So messages that the window has not handled and refusals that have not been sent count
// together, and reading from the server pauses while it has 64 of them.
class Backlog : public std::enable_shared_from_this<Backlog> {
 public:
  // What counts for one server; shared with its threads.
  class Share {
   public:
    bool IsStopped() const { return isStopped_; }

   private:
    friend class Backlog;
    std::atomic<bool> isStopped_ = false;  // set under the lock of the backlog
    size_t bytes_ = 0;                     // guarded by the lock of the backlog
  };

  // Counts for one refusal until it is destroyed. Any thread.
  using Refusal = std::shared_ptr<const void>;

  Backlog() = default;
  Backlog(const Backlog&) = delete;
  Backlog& operator=(const Backlog&) = delete;

  // Posts one message of the server that `server` names to `window`, as kMcpMessage, after Add.
  // Nothing after a stop. Worker threads only.
  void Deliver(HWND window, WPARAM server, std::string message, Share& share);

  // The same without waiting for room: where there is none the message is dropped. Worker threads
  // only, since it waits while the window's queue is full.
  void DeliverIfRoom(HWND window, WPARAM server, std::string message, Share& share);

  // The same for the UI thread, which must not wait: posted even where there is no room. Dropped
  // when the window's queue is full.
  void DeliverAtOnce(HWND window, WPARAM server, std::string message, Share& share);

  // Worker threads only, before a message of so many bytes is posted. Waits while 256 KiB are under
  // way, each message or refusal counted with 4 KiB for itself: of all servers, until the window is
  // through with all of it; of this server, until there is room. False, at once, when the server
  // has been stopped: the message is not to be posted.
  bool Add(size_t bytes, Share& share);

  // After such a message has been handled, or could not be posted.
  void Remove(size_t bytes, Share& share);

  // Counts a refusal of so many bytes. Needs the backlog to be owned by a shared_ptr.
  Refusal AddRefusal(size_t bytes, const std::shared_ptr<Share>& share);

  // Ends the waiting of this server, now and later.
  void Stop(Share& share);

 private:
  bool HasRoom(const Share& share) const;
  void Count(size_t bytes, Share& share);
  void RemoveOfServer(size_t bytes, Share& share);
  void Post(HWND window, WPARAM server, std::string message, Share& share);

  Lock lock_;
  Condition changed_;
  size_t underWayBytes_ = 0;        // messages of all servers
  bool isFull_ = false;             // from the limit on until nothing is under way
  std::uint64_t timesEmptied_ = 0;  // after being full
};

}  // namespace wendra
