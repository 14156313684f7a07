// The end of a remote server's session, which is still being sent to the server.
#pragma once

#include <cstdint>
#include <mutex>

#include "base/lock.h"

namespace wendra {

// Shared by the thread that sends and by whoever waits for it. Any thread.
class SessionEnd {
 public:
  void SetSent() {
    const std::lock_guard<Lock> lock(lock_);
    isSent_ = true;
    sent_.WakeAll();
  }

  // Waits at most `maxMs` milliseconds. True: the server has been told, or could not be reached.
  bool WaitFor(std::uint32_t maxMs) {
    const std::lock_guard<Lock> lock(lock_);
    return sent_.WaitFor(lock_, maxMs, [this] { return isSent_; });
  }

 private:
  Lock lock_;
  Condition sent_;
  bool isSent_ = false;
};

}  // namespace wendra
