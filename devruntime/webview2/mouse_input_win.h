// Translates mouse messages of the page's window into parameters of the protocol's Input domain.
#pragma once

#include <optional>

#include "json/json.h"

#include <windows.h>

namespace wendra {

// Bits of `modifiers` in the Input domain.
inline constexpr int kAltModifier = 1;
inline constexpr int kControlModifier = 2;
inline constexpr int kShiftModifier = 8;

// One for each window; the window's thread. Counts the clicks of a double click.
class MouseInput {
 public:
  // The parameters of Input.dispatchMouseEvent; nothing for a message that is not of the mouse.
  std::optional<Json> Translate(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

 private:
  Json Press(const char* button, POINT at, WPARAM keys);
  int CountClick(const char* button, POINT at);

  // Of the last press of a button.
  const char* lastButton_ = "";
  POINT lastAt_{};
  LONG lastMs_ = 0;
  int clicks_ = 0;
};

}  // namespace wendra
