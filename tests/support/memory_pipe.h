// A pipe in memory: the test plays the child process at its other end.
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
  // For the host.
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

  // For the test, as the child.
  void Feed(std::string_view bytes) { Write(bytes); }
  void End() {
    const std::lock_guard<Lock> lock(lock_);
    isEnded_ = true;
    changed_.WakeAll();
  }
  // While the pipe is full, because the child does not read, the host's writes wait.
  void SetFull(bool isFull) {
    const std::lock_guard<Lock> lock(lock_);
    isFull_ = isFull;
    changed_.WakeAll();
  }
  // Waits until the pipe holds at least `bytes` bytes, at most 20 seconds. Returns all bytes in it,
  // and leaves them there.
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
