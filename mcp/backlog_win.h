// Holds up a server that speaks faster than it is heard, before its messages fill the window's
// queue: whatever comes behind them there, a click on the close button among it, would have to wait
// for all of them.
#pragma once

#include "win/lock.h"

namespace wendra {

// The messages of one server that were posted and not handled yet. Any thread.
class Backlog {
 public:
  static constexpr int kMostMessages = 64;  // a window that is busy with them is so for no second

  Backlog() = default;
  Backlog(const Backlog&) = delete;
  Backlog& operator=(const Backlog&) = delete;

  // Waits until there is room, and counts one message more. False: there is to be none. Worker
  // threads only.
  bool Enter();

  // One of them has been handled.
  void Leave();

  // Ends all waiting, now and later.
  void Close();

 private:
  Lock lock_;
  Condition changed_;
  int messages_ = 0;
  bool isClosed_ = false;
};

}  // namespace wendra
