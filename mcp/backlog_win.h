// How much of what a server has said the window is not yet through with.
#pragma once

#include <cstddef>
#include <string>

#include "win/lock.h"

#include <windows.h>

namespace wendra {

// Holds up a server that speaks faster than the window can take it: the system gives the window its
// keyboard, its painting and the wish to close only after what has been posted before.
class Backlog {
 public:
  Backlog() = default;
  Backlog(const Backlog&) = delete;
  Backlog& operator=(const Backlog&) = delete;

  // Posts one message of the server `server` names to `window`, as kMcpMessage, after Add. Nothing
  // after a stop.
  void Deliver(HWND window, WPARAM server, std::string message);

  // Worker threads only, before a message of so many bytes is posted. Beyond 256 KiB under way,
  // each message counted with 4 KiB for itself, waits until the window is through with all of it,
  // which also leaves a gap for the window's other messages. False after a stop: it is not to be
  // posted.
  bool Add(size_t bytes);

  // Whoever has handled such a message, or could not post it.
  void Remove(size_t bytes);

  // Wakes whoever waits, for good.
  void Stop();

 private:
  Lock lock_;
  Condition changed_;
  size_t underWayBytes_ = 0;
  bool isStopped_ = false;
};

}  // namespace wendra
