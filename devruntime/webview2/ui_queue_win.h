// Runs work on the UI thread, which is the thread that made the environment.
//
// A message-only window carries the work, so it runs in any message loop of the thread. Jobs run in
// the order of posting. A job never starts inside another job: if a handler of the host opens a
// dialog, all later jobs wait until that handler returns, as with the real control.
#pragma once

#include <deque>
#include <functional>
#include <memory>

#include "base/lock.h"

#include <windows.h>

namespace wendra {

class UiQueue {
 public:
  // On the thread that will run the jobs. Null when Windows refuses the window.
  static std::shared_ptr<UiQueue> Create();
  ~UiQueue();  // on the same thread; drops jobs that have not run
  UiQueue(const UiQueue&) = delete;
  UiQueue& operator=(const UiQueue&) = delete;

  // Any thread. Never blocks, and never runs the job itself.
  void Post(std::function<void()> job);

  bool IsThisThread() const { return GetCurrentThreadId() == threadId_; }

 private:
  UiQueue() = default;

  static LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  void RunOne();

  HWND window_ = nullptr;
  const DWORD threadId_ = GetCurrentThreadId();
  // The thread of the jobs only.
  bool isRunning_ = false;
  size_t missedWakeUps_ = 0;  // messages that came while a job ran

  Lock lock_;
  std::deque<std::function<void()>> jobs_;
};

// Waits until `object` is signalled, at most `timeoutMs`. Meanwhile this thread's windows answer
// messages that other threads send to them. False: the time is over.
bool WaitAnsweringSentMessages(HANDLE object, DWORD timeoutMs);

// Dispatches the messages of this thread for so long.
void DispatchMessagesFor(DWORD durationMs);

}  // namespace wendra
