// Something that a test opens and others wait for.
#pragma once

#include <cstdint>
#include <mutex>

#include "base/lock.h"

namespace wendra {

class Gate {
 public:
  void Open() {
    const std::lock_guard<Lock> lock(lock_);
    isOpen_ = true;
    changed_.WakeAll();
  }
  // False: not within 20 seconds.
  bool Wait() {
    const std::lock_guard<Lock> lock(lock_);
    return changed_.WaitFor(lock_, 20'000, [this] { return isOpen_; });
  }

 private:
  Lock lock_;
  Condition changed_;
  bool isOpen_ = false;
};

}  // namespace wendra
