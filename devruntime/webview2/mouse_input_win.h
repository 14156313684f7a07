// Mouse messages of the page's window as calls of the protocol's Input domain.
#pragma once

#include <optional>

#include <windows.h>

#include "json/json.h"

namespace wendra {

// Bits of `modifiers` in the Input domain.
inline constexpr int kAltModifier = 1;
inline constexpr int kControlModifier = 2;
inline constexpr int kShiftModifier = 8;

// One per window, on the window's thread. Keeps the count of clicks.
class MouseInput {
 public:
  // Parameters of Input.dispatchMouseEvent, or nothing for a message that is none of the mouse's.
  std::optional<Json> Translate(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

 private:
  Json Press(const char* button, POINT at, WPARAM keys);
  int CountClick(const char* button, POINT at);

  const char* lastButton_ = "";
  POINT lastAt_{};
  LONG lastMs_ = 0;
  int clicks_ = 0;
};

}  // namespace wendra
