// A pipe without a process at its other end: the test feeds and looks.
#pragma once

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "base/lock.h"
#include "mcp/stdio/pipe.h"

namespace wendra {

class MemoryPipe : public Pipe {
 public:
  // The host's end.
  size_t Read(char* buffer, size_t bytes) override {
    const std::lock_guard<Lock> lock(lock_);
    changed_.Wait(lock_, [this] { return isCancelled_ || isEnded_ || !bytes_.empty(); });
    if (isCancelled_) return 0;
    const size_t got = std::min(bytes, bytes_.size());
    std::copy_n(bytes_.begin(), got, buffer);
    bytes_.erase(0, got);
    return got;
  }
  void Write(std::string_view bytes) override {
    const std::lock_guard<Lock> lock(lock_);
    changed_.Wait(lock_, [this] { return isCancelled_ || !isFull_; });
    if (isCancelled_) return;
    bytes_ += bytes;
    changed_.WakeAll();
  }
  void Cancel() override {
    const std::lock_guard<Lock> lock(lock_);
    isCancelled_ = true;
    changed_.WakeAll();
  }

  // The child's end.
  void Feed(std::string_view bytes) { Write(bytes); }
  void End() {
    const std::lock_guard<Lock> lock(lock_);
    isEnded_ = true;
    changed_.WakeAll();
  }
  // Whether the child does not read, so that a write waits.
  void SetFull(bool isFull) {
    const std::lock_guard<Lock> lock(lock_);
    isFull_ = isFull;
    changed_.WakeAll();
  }
  // Everything that has been written; waits until that are so many bytes, at most 20 seconds.
  std::string WaitForBytes(size_t bytes) {
    const std::lock_guard<Lock> lock(lock_);
    (void)changed_.WaitFor(lock_, 20'000, [&] { return bytes_.size() >= bytes; });
    return bytes_;
  }
  bool IsCancelled() {
    const std::lock_guard<Lock> lock(lock_);
    return isCancelled_;
  }

 private:
  Lock lock_;
  Condition changed_;
  std::string bytes_;
  bool isCancelled_ = false;
  bool isEnded_ = false;
  bool isFull_ = false;
};

}  // namespace wendra
