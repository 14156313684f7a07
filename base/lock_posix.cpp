#include "base/lock.h"

#include <chrono>

#include "base/clock.h"

namespace wendra {

void Lock::lock() { state_.lock(); }
void Lock::unlock() { state_.unlock(); }

void Condition::WakeAll() { state_.notify_all(); }
void Condition::WakeOne() { state_.notify_one(); }

std::uint64_t Condition::NowMs() { return ClockMs(); }

void Condition::Sleep(Lock& owner) {
  std::unique_lock<std::mutex> lock(owner.state_, std::adopt_lock);
  state_.wait(lock);
  (void)lock.release();  // the caller still holds the lock
}

void Condition::SleepFor(Lock& owner, std::uint32_t maxMs) {
  std::unique_lock<std::mutex> lock(owner.state_, std::adopt_lock);
  (void)state_.wait_for(lock, std::chrono::milliseconds(maxMs));
  (void)lock.release();
}

}  // namespace wendra
