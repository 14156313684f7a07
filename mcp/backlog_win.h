// How much of what the MCP servers have said the window is not yet through with.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

#include "win/lock.h"

#include <windows.h>

namespace wendra {

// Holds up servers that speak faster than the window can take it: the system gives a window its
// keyboard, its painting, its timers and the wish to close only when nothing is left that was
// posted. So all servers share one, and it is emptied before it is filled again.
class Backlog {
 public:
  Backlog() = default;
  Backlog(const Backlog&) = delete;
  Backlog& operator=(const Backlog&) = delete;

  // Posts one message of the server that `server` names to `window`, as kMcpMessage, after Add.
  // Nothing after a stop.
  void Deliver(HWND window, WPARAM server, std::string message, const std::atomic<bool>& isStopped);

  // The same for the window's own thread, which must not wait. Dropped when its queue is full.
  void DeliverAtOnce(HWND window, WPARAM server, std::string message);

  // Worker threads only, before a message of so many bytes is posted. Once 256 KiB are under way,
  // each message counted with 4 KiB for itself, waits until the window is through with all of it.
  // False, at once, when the server has been stopped: the message is not to be posted.
  bool Add(size_t bytes, const std::atomic<bool>& isStopped);

  // Whoever has handled such a message, or could not post it.
  void Remove(size_t bytes);

  // After `isStopped` of a server has been set: ends its waiting.
  void WakeStopped();

 private:
  void Count(size_t bytes);

  Lock lock_;
  Condition changed_;
  size_t underWayBytes_ = 0;
  bool isFull_ = false;             // from the limit on until nothing is under way
  std::uint64_t timesEmptied_ = 0;  // after being full
};

}  // namespace wendra
