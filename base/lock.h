// A lock and a condition variable that own no memory and no handle on Windows. With mingw, each
// std::mutex and std::condition_variable that is used keeps memory and kernel handles until the
// process ends. Objects that are created and destroyed while the program runs use these instead.
#pragma once

#include <cstdint>

#ifndef _WIN32
#include <condition_variable>
#include <mutex>
#endif

namespace wendra {

// Works with std::lock_guard and std::unique_lock. Not recursive. Any thread.
class Lock {
 public:
  Lock() = default;
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  void lock();
  void unlock();

 private:
  friend class Condition;
#ifdef _WIN32
  void* state_ = nullptr;  // an SRWLOCK
#else
  std::mutex state_;
#endif
};

// A condition variable. The caller of Wait and WaitFor holds the lock; it is released while the
// caller sleeps. Any thread.
class Condition {
 public:
  Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  // Returns when `isTrue()` is true. `isTrue` is called with the lock held.
  template <typename IsTrue>
  void Wait(Lock& lock, IsTrue isTrue) {
    while (!isTrue()) Sleep(lock);
  }

  // Like Wait, but for at most `maxMs` milliseconds. False: the time is over, and `isTrue()` is
  // still false.
  template <typename IsTrue>
  bool WaitFor(Lock& lock, std::uint32_t maxMs, IsTrue isTrue) {
    const std::uint64_t endMs = NowMs() + maxMs;
    while (!isTrue()) {
      const std::uint64_t nowMs = NowMs();
      if (nowMs >= endMs) return false;
      SleepFor(lock, static_cast<std::uint32_t>(endMs - nowMs));
    }
    return true;
  }

  void WakeAll();
  void WakeOne();

 private:
  static std::uint64_t NowMs();
  // Both may return early: the caller has to check its condition again.
  void Sleep(Lock& lock);
  void SleepFor(Lock& lock, std::uint32_t maxMs);

#ifdef _WIN32
  void* state_ = nullptr;  // a CONDITION_VARIABLE
#else
  std::condition_variable state_;
#endif
};

}  // namespace wendra
