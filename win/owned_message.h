// Hands a heap payload from any thread to the window procedure of the UI thread.
#pragma once

#include <memory>

#include <windows.h>

namespace wendra {

// Posts `payload` to `window`. True: the window procedure owns it now.
// False: it has been freed here. Any thread; never blocks.
template <typename T>
bool PostOwned(HWND window, UINT message, WPARAM wparam, std::unique_ptr<T> payload) {
  if (!window) return false;  // null would post a thread message nobody dispatches
  if (!PostMessageW(window, message, wparam, reinterpret_cast<LPARAM>(payload.get()))) {
    return false;
  }
  (void)payload.release();
  return true;
}

// Takes back what PostOwned sent; the first statement of the message's case.
template <typename T>
std::unique_ptr<T> TakeOwned(LPARAM lparam) {
  return std::unique_ptr<T>(reinterpret_cast<T*>(lparam));
}

}  // namespace wendra
