// Starts a thread that owns its job and that others can wait for.
#pragma once

#include <memory>

#include "win/unique.h"

namespace wendra {

// Runs `Body(job)` on a new thread, which owns the job from then on. Returns a handle to wait for
// the end of the thread. Empty: the system could not start a thread, and the caller still owns
// `job`.
template <auto Body, typename Job>
KernelHandle StartThread(std::unique_ptr<Job>& job) {
  const auto start = [](void* parameter) -> DWORD {
    Body(std::unique_ptr<Job>(static_cast<Job*>(parameter)));
    return 0;
  };
  KernelHandle thread(CreateThread(nullptr, 0, start, job.get(), 0, nullptr));
  if (thread) (void)job.release();  // the new thread frees the job
  return thread;
}

}  // namespace wendra
