// Hands work to the thread that made the environment, through a window that only gets messages.
//
// Jobs run there one after the other in the order of posting, from whatever message loop the thread
// runs. A job never starts inside another: if one of them opens a nested loop (a dialog in a
// handler), all later ones wait until it has returned, as with the real control.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include <windows.h>

namespace wendra {

class UiQueue {
 public:
  // On the thread that will run the jobs. Null if there can be no window.
  static std::shared_ptr<UiQueue> Create();
  ~UiQueue();  // on the same thread; jobs that have not run are dropped

  // Any thread; never blocks, never runs the job itself.
  void Post(std::function<void()> job);

  bool IsThisThread() const { return GetCurrentThreadId() == threadId_; }

 private:
  UiQueue() = default;
  UiQueue(const UiQueue&) = delete;
  UiQueue& operator=(const UiQueue&) = delete;

  static LRESULT CALLBACK WindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
  void RunOne();

  HWND window_ = nullptr;
  DWORD threadId_ = GetCurrentThreadId();
  bool running_ = false;  // thread of the jobs only
  size_t owed_ = 0;       // wake-ups that came while a job ran; thread of the jobs only
  std::mutex mutex_;
  std::deque<std::function<void()>> jobs_;
};

// Waits until `object` is signalled, at most `timeoutMs`, while messages that other threads send
// to this thread's windows are answered. False on time-out.
bool WaitAnsweringSentMessages(HANDLE object, DWORD timeoutMs);

}  // namespace wendra
