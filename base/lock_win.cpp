#include "base/lock.h"

#include "base/clock.h"

#include <windows.h>

namespace wendra {
namespace {

static_assert(sizeof(SRWLOCK) == sizeof(void*) && sizeof(CONDITION_VARIABLE) == sizeof(void*));

// Both types consist of one pointer. It is null before the first use: that is what SRWLOCK_INIT and
// CONDITION_VARIABLE_INIT set.
SRWLOCK* AsLock(void*& state) { return reinterpret_cast<SRWLOCK*>(&state); }
CONDITION_VARIABLE* AsCondition(void*& state) {
  return reinterpret_cast<CONDITION_VARIABLE*>(&state);
}

}  // namespace

void Lock::lock() { AcquireSRWLockExclusive(AsLock(state_)); }
void Lock::unlock() { ReleaseSRWLockExclusive(AsLock(state_)); }

void Condition::WakeAll() { WakeAllConditionVariable(AsCondition(state_)); }
void Condition::WakeOne() { WakeConditionVariable(AsCondition(state_)); }

std::uint64_t Condition::NowMs() { return ClockMs(); }

void Condition::Sleep(Lock& lock) {
  (void)SleepConditionVariableSRW(AsCondition(state_), AsLock(lock.state_), INFINITE, 0);
}

void Condition::SleepFor(Lock& lock, std::uint32_t maxMs) {
  (void)SleepConditionVariableSRW(AsCondition(state_), AsLock(lock.state_), maxMs, 0);
}

}  // namespace wendra
