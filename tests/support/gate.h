// A gate that one thread opens and other threads wait for. It stays open.
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
  // Waits until the gate is open, at most 20 seconds. False: it is still closed.
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
