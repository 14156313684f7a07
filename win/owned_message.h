// Posts messages with a heap payload from any thread to a window procedure.
//
// | function     | payload | when the message queue is full   | thread            |
// |--------------|---------|----------------------------------|-------------------|
// | PostOwned    | yes     | frees the payload, returns false | any               |
// | DeliverOwned | yes     | waits                            | not the UI thread |
// | Deliver      | no      | waits                            | not the UI thread |
//
// Windows lets 10,000 posted messages wait in the queue of a thread; then posting fails.
#pragma once

#include <memory>

#include <windows.h>

namespace wendra {

// Between two tries to post to a full queue. Even a busy window handles many messages meanwhile.
inline constexpr DWORD kFullQueuePauseMs = 5;

// Posts `payload` to `window`. True: the window procedure owns the payload now. False: the caller
// still owns it, because the window is gone or the message queue is full. Any thread; never waits.
template <typename T>
bool TryPostOwned(HWND window, UINT message, WPARAM wparam, std::unique_ptr<T>& payload) {
  if (!window) return false;  // for null, Windows posts to the calling thread: no window gets it
  if (!PostMessageW(window, message, wparam, reinterpret_cast<LPARAM>(payload.get()))) {
    return false;
  }
  (void)payload.release();
  return true;
}

// Posts a payload that must not be lost. Waits while the message queue is full, and so slows down a
// thread that produces too fast. False: the window is gone, and the payload has been freed. Worker
// threads only: the UI thread would wait for itself.
template <typename T>
bool DeliverOwned(HWND window, UINT message, WPARAM wparam, std::unique_ptr<T> payload) {
  while (!TryPostOwned(window, message, wparam, payload)) {
    if (!IsWindow(window)) return false;
    Sleep(kFullQueuePauseMs);
  }
  return true;
}

// Posts a payload that may be lost. False: the window is gone or the message queue is full, and the
// payload has been freed. Any thread; never waits.
template <typename T>
bool PostOwned(HWND window, UINT message, WPARAM wparam, std::unique_ptr<T> payload) {
  return TryPostOwned(window, message, wparam, payload);
}

// Like DeliverOwned, for a message without a payload: it must not be lost, so the call waits while
// the message queue is full. False: the window is gone. Worker threads only.
inline bool Deliver(HWND window, UINT message, WPARAM wparam) {
  if (!window) return false;
  while (!PostMessageW(window, message, wparam, 0)) {
    if (!IsWindow(window)) return false;
    Sleep(kFullQueuePauseMs);
  }
  return true;
}

// Takes the payload of a message that one of these functions has posted. The window procedure calls
// this first, so that the payload is freed on every path.
template <typename T>
std::unique_ptr<T> TakeOwned(LPARAM lparam) {
  return std::unique_ptr<T>(reinterpret_cast<T*>(lparam));
}

}  // namespace wendra
