// A hidden top-level window for a test, and functions that handle the messages of its thread.
#pragma once

#include <functional>

#include "tests/support/patience.h"
#include "win/window_class.h"

#include <windows.h>

namespace wendra {

class TestWindow {
 public:
  // Gets every message that is posted or sent to the window, before the default handling.
  using OnMessage = std::function<void(UINT, WPARAM, LPARAM)>;

  explicit TestWindow(OnMessage onMessage = {}) : onMessage_(std::move(onMessage)) {
    const WNDCLASSEXW windowClass =
        MakeWindowClass(GetModuleHandleW(nullptr), L"WendraTestWindow", &TestWindow::Procedure);
    RegisterClassExW(&windowClass);  // fails for the second window: the class exists already
    handle_ = CreateWindowExW(0, windowClass.lpszClassName, L"", WS_OVERLAPPEDWINDOW, 0, 0, 800,
                              600, nullptr, nullptr, windowClass.hInstance, nullptr);
    SetWindowLongPtrW(handle_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  }
  ~TestWindow() {
    SetWindowLongPtrW(handle_, GWLP_USERDATA, 0);
    DestroyWindow(handle_);
  }
  TestWindow(const TestWindow&) = delete;
  TestWindow& operator=(const TestWindow&) = delete;

  HWND Handle() const { return handle_; }

  // Handles all messages that are in the queue now.
  static void Pump() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
  }

  // Handles messages until `isDone()` is true; asks before each message. False: not within
  // kPatienceMs.
  static bool PumpUntil(const std::function<bool()>& isDone) {
    const ULONGLONG end = GetTickCount64() + kPatienceMs;
    for (ULONGLONG now = GetTickCount64(); !isDone(); now = GetTickCount64()) {
      if (now >= end) return false;
      MSG message;
      if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        DispatchMessageW(&message);
      } else {
        MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(end - now), QS_ALLINPUT);
      }
    }
    return true;
  }

 private:
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
    auto* self = reinterpret_cast<TestWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (self && self->onMessage_) self->onMessage_(message, wparam, lparam);
    return DefWindowProcW(window, message, wparam, lparam);
  }

  const OnMessage onMessage_;
  HWND handle_ = nullptr;
};

}  // namespace wendra
