// Hands a heap payload from any thread to the window procedure of the UI thread.
#pragma once

#include <memory>

#include <windows.h>

namespace wendra {

inline constexpr DWORD kFullQueuePauseMs =
    5;  // a busy window empties thousands of messages meanwhile

// Posts `payload` to `window`. True: the window procedure owns it now. False: the caller still
// does; the window is gone, or its queue is full (10,000 messages). Any thread; never blocks.
template <typename T>
bool TryPostOwned(HWND window, UINT message, WPARAM wparam, std::unique_ptr<T>& payload) {
  if (!window) return false;  // null would post a thread message nobody dispatches
  if (!PostMessageW(window, message, wparam, reinterpret_cast<LPARAM>(payload.get()))) {
    return false;
  }
  (void)payload.release();
  return true;
}

// Posts a payload that must not be lost: waits while the queue is full, which holds up whoever
// produces too fast. False: the window is gone, and the payload has been freed. Worker threads
// only.
template <typename T>
bool DeliverOwned(HWND window, UINT message, WPARAM wparam, std::unique_ptr<T> payload) {
  while (!TryPostOwned(window, message, wparam, payload)) {
    if (!IsWindow(window)) return false;
    Sleep(kFullQueuePauseMs);
  }
  return true;
}

// The same for a payload that may be lost, without waiting. False: it has been freed here.
template <typename T>
bool PostOwned(HWND window, UINT message, WPARAM wparam, std::unique_ptr<T> payload) {
  return TryPostOwned(window, message, wparam, payload);
}

// The same for a message without a payload.
inline bool Deliver(HWND window, UINT message, WPARAM wparam) {
  if (!window) return false;
  while (!PostMessageW(window, message, wparam, 0)) {
    if (!IsWindow(window)) return false;
    Sleep(kFullQueuePauseMs);
  }
  return true;
}

// Takes back what PostOwned sent; the first statement of the message's case.
template <typename T>
std::unique_ptr<T> TakeOwned(LPARAM lparam) {
  return std::unique_ptr<T>(reinterpret_cast<T*>(lparam));
}

}  // namespace wendra
