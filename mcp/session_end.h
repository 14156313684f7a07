// Tells when the DELETE that ends a remote server's session has been sent.
#pragma once

#include <cstdint>
#include <mutex>

#include "base/lock.h"

namespace wendra {

// The thread that sends the DELETE and the UI thread share it. Any thread.
class SessionEnd {
 public:
  void SetSent() {
    const std::lock_guard<Lock> lock(lock_);
    isSent_ = true;
    sent_.WakeAll();
  }

  // Waits at most `maxMs` milliseconds. True: the DELETE has been sent, or has failed.
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
