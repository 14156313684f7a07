#include "devruntime/webview2/ui_queue_win.h"

#include <utility>

#include "devruntime/webview2/module_win.h"

namespace wendra {
namespace {

constexpr wchar_t kClassName[] = L"WendraDevRuntimeQueue";
constexpr UINT kRunMessage = WM_APP + 1;

}  // namespace

std::shared_ptr<UiQueue> UiQueue::Create() {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof windowClass;
  windowClass.lpfnWndProc = &UiQueue::WindowProc;
  windowClass.hInstance = ThisModule();
  windowClass.lpszClassName = kClassName;
  RegisterClassExW(&windowClass);  // fails from the second time on, which does no harm
  std::shared_ptr<UiQueue> queue(new UiQueue);
  queue->window_ = CreateWindowExW(0, kClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
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
    const std::lock_guard lock(mutex_);
    jobs_.push_back(std::move(job));
  }
  PostMessageW(window_, kRunMessage, 0, 0);
}

LRESULT CALLBACK UiQueue::WindowProc(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message != kRunMessage) return DefWindowProcW(window, message, wparam, lparam);
  if (auto* queue = reinterpret_cast<UiQueue*>(GetWindowLongPtrW(window, GWLP_USERDATA))) {
    queue->RunOne();
  }
  return 0;
}

// One job per message, so that other messages of the host get their turn in between.
void UiQueue::RunOne() {
  if (running_) {
    ++owed_;
    return;
  }
  std::function<void()> job;
  {
    const std::lock_guard lock(mutex_);
    if (jobs_.empty()) return;
    job = std::move(jobs_.front());
    jobs_.pop_front();
  }
  const HWND window = window_;
  running_ = true;
  // An exception that a handler of the host lets out passes through here and ends the process.
  job();
  job = nullptr;  // may drop the last share of this queue: nothing of it is touched unless it lives
  if (GetWindowLongPtrW(window, GWLP_USERDATA) != reinterpret_cast<LONG_PTR>(this)) return;
  running_ = false;
  for (; owed_ > 0; --owed_) PostMessageW(window, kRunMessage, 0, 0);
}

bool WaitAnsweringSentMessages(HANDLE object, DWORD timeoutMs) {
  const ULONGLONG deadline = GetTickCount64() + timeoutMs;
  for (;;) {
    const ULONGLONG now = GetTickCount64();
    if (now >= deadline) return false;
    const DWORD result = MsgWaitForMultipleObjects(
        1, &object, FALSE, static_cast<DWORD>(deadline - now), QS_SENDMESSAGE);
    if (result == WAIT_OBJECT_0) return true;
    if (result != WAIT_OBJECT_0 + 1) return false;
    MSG message;
    PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
  }
}

}  // namespace wendra
