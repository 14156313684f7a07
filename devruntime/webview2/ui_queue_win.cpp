#include "devruntime/webview2/ui_queue_win.h"

#include <mutex>
#include <utility>

#include "devruntime/webview2/module_win.h"
#include "win/window_class.h"

namespace wendra {
namespace {

constexpr wchar_t kWindowClass[] = L"WendraDevRuntimeQueue";
constexpr UINT kRunMessage = WM_APP + 1;

UiQueue* QueueOf(HWND window) {
  return reinterpret_cast<UiQueue*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

}  // namespace

std::shared_ptr<UiQueue> UiQueue::Create() {
  const WNDCLASSEXW windowClass =
      MakeWindowClass(ThisModule(), kWindowClass, &UiQueue::WindowProcedure);
  (void)RegisterClassExW(&windowClass);  // fails the second time: the class exists already
  std::shared_ptr<UiQueue> queue(new UiQueue);
  queue->window_ = CreateWindowExW(0, kWindowClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                   ThisModule(), nullptr);
  if (!queue->window_) return nullptr;
  SetWindowLongPtrW(queue->window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(queue.get()));
  return queue;
}

UiQueue::~UiQueue() {
  if (!window_) return;
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  DestroyWindow(window_);
}

void UiQueue::Post(std::function<void()> job) {
  {
    const std::lock_guard<Lock> lock(lock_);
    jobs_.push_back(std::move(job));
  }
  (void)PostMessageW(window_, kRunMessage, 0, 0);
}

LRESULT CALLBACK UiQueue::WindowProcedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message != kRunMessage) return DefWindowProcW(window, message, wparam, lparam);
  if (UiQueue* queue = QueueOf(window)) queue->RunOne();
  return 0;
}

// Runs one job for each message, so that the host handles its other messages in between.
void UiQueue::RunOne() {
  if (isRunning_) {
    ++missedWakeUps_;
    return;
  }
  std::function<void()> job;
  {
    const std::lock_guard<Lock> lock(lock_);
    if (jobs_.empty()) return;
    job = std::move(jobs_.front());
    jobs_.pop_front();
  }
  const HWND window = window_;
  isRunning_ = true;
  // An exception that a handler of the host lets out passes through here and ends the process.
  job();
  job = nullptr;  // may release the last share of this queue
  if (QueueOf(window) != this) return;
  isRunning_ = false;
  for (; missedWakeUps_ > 0; --missedWakeUps_) (void)PostMessageW(window, kRunMessage, 0, 0);
}

bool WaitAnsweringSentMessages(HANDLE object, DWORD timeoutMs) {
  const ULONGLONG deadlineMs = GetTickCount64() + timeoutMs;
  for (;;) {
    const ULONGLONG nowMs = GetTickCount64();
    if (nowMs >= deadlineMs) return false;
    const DWORD result = MsgWaitForMultipleObjects(
        1, &object, FALSE, static_cast<DWORD>(deadlineMs - nowMs), QS_SENDMESSAGE);
    if (result == WAIT_OBJECT_0) return true;
    if (result != WAIT_OBJECT_0 + 1) return false;
    MSG message;
    (void)PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
  }
}

void DispatchMessagesFor(DWORD durationMs) {
  const ULONGLONG endMs = GetTickCount64() + durationMs;
  for (ULONGLONG nowMs = GetTickCount64(); nowMs < endMs; nowMs = GetTickCount64()) {
    MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(endMs - nowMs), QS_ALLINPUT);
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
  }
}

}  // namespace wendra
