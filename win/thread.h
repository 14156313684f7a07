// Starting a thread that owns its job.
#pragma once

#include <memory>

#include "win/unique.h"

namespace wendra {

// Runs `Body(job)` on a thread of its own. The handle, for waiting; empty when no thread was made,
// and then `job` is still the caller's.
template <auto Body, typename Job>
KernelHandle StartThread(std::unique_ptr<Job>& job) {
  const auto start = [](void* parameter) -> DWORD {
    Body(std::unique_ptr<Job>(static_cast<Job*>(parameter)));
    return 0;
  };
  KernelHandle thread(CreateThread(nullptr, 0, start, job.get(), 0, nullptr));
  if (thread) (void)job.release();  // the thread frees it
  return thread;
}

}  // namespace wendra
