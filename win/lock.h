// A lock and a condition that own nothing: with this compiler's std::mutex and
// std::condition_variable each object that is used keeps a piece of memory and kernel handles for
// good, so what comes and goes needs these.
#pragma once

#include <windows.h>

namespace wendra {

// For std::lock_guard and std::unique_lock. Not recursive.
class Lock {
 public:
  Lock() = default;
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  void lock() { AcquireSRWLockExclusive(&lock_); }
  void unlock() { ReleaseSRWLockExclusive(&lock_); }

 private:
  friend class Condition;
  SRWLOCK lock_ = SRWLOCK_INIT;
};

class Condition {
 public:
  Condition() = default;
  Condition(const Condition&) = delete;
  Condition& operator=(const Condition&) = delete;

  // Lets go of `lock`, which the caller holds, until `isTrue()`; asked while it is held.
  template <typename IsTrue>
  void Wait(Lock& lock, IsTrue isTrue) {
    while (!isTrue()) (void)SleepConditionVariableSRW(&condition_, &lock.lock_, INFINITE, 0);
  }
  // The same for at most `maxMs`; false when the time is over before it is true.
  template <typename IsTrue>
  bool WaitFor(Lock& lock, DWORD maxMs, IsTrue isTrue) {
    const ULONGLONG end = GetTickCount64() + maxMs;
    while (!isTrue()) {
      const ULONGLONG now = GetTickCount64();
      if (now >= end) return false;
      (void)SleepConditionVariableSRW(&condition_, &lock.lock_, static_cast<DWORD>(end - now), 0);
    }
    return true;
  }
  void WakeAll() { WakeAllConditionVariable(&condition_); }
  void WakeOne() { WakeConditionVariable(&condition_); }

 private:
  CONDITION_VARIABLE condition_ = CONDITION_VARIABLE_INIT;
};

}  // namespace wendra
