#include "devruntime/webview2/mouse_input_win.h"

#include <cstdlib>
#include <string_view>

#include "json/objects.h"

#include <windowsx.h>

namespace wendra {
namespace {

constexpr int kPixelsPerNotch = 100;  // Chromium scrolls so far for one notch of a wheel

const struct {
  UINT message;
  const char* button;
  bool isPress;
} kButtons[] = {
    {WM_LBUTTONDOWN, "left", true},    {WM_LBUTTONDBLCLK, "left", true},
    {WM_LBUTTONUP, "left", false},     {WM_RBUTTONDOWN, "right", true},
    {WM_RBUTTONDBLCLK, "right", true}, {WM_RBUTTONUP, "right", false},
    {WM_MBUTTONDOWN, "middle", true},  {WM_MBUTTONDBLCLK, "middle", true},
    {WM_MBUTTONUP, "middle", false},
};

int Modifiers(WPARAM keys) {
  int modifiers = 0;
  if (keys & MK_CONTROL) modifiers |= kControlModifier;
  if (keys & MK_SHIFT) modifiers |= kShiftModifier;
  if (GetKeyState(VK_MENU) < 0) modifiers |= kAltModifier;
  return modifiers;
}

// The buttons that are down, as bits of the protocol: left 1, right 2, middle 4.
int ButtonsDown(WPARAM keys) {
  return ((keys & MK_LBUTTON) ? 1 : 0) | ((keys & MK_RBUTTON) ? 2 : 0) |
         ((keys & MK_MBUTTON) ? 4 : 0);
}

const char* HeldButton(WPARAM keys) {
  if (keys & MK_LBUTTON) return "left";
  if (keys & MK_RBUTTON) return "right";
  return (keys & MK_MBUTTON) ? "middle" : "none";
}

Json MouseEvent(const char* type, POINT at, WPARAM keys) {
  return MakeObject({{"type", type},
                     {"x", static_cast<int>(at.x)},
                     {"y", static_cast<int>(at.y)},
                     {"modifiers", Modifiers(keys)},
                     {"buttons", ButtonsDown(keys)}});
}

Json Wheel(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  POINT at{GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)};
  ScreenToClient(window, &at);
  const int pixels = GET_WHEEL_DELTA_WPARAM(wparam) * kPixelsPerNotch / WHEEL_DELTA;
  Json event = MouseEvent("mouseWheel", at, GET_KEYSTATE_WPARAM(wparam));
  const bool isSideways = message == WM_MOUSEHWHEEL;
  event.members.emplace_back("deltaX", isSideways ? pixels : 0);
  event.members.emplace_back("deltaY", isSideways ? 0 : -pixels);
  return event;
}

}  // namespace

std::optional<Json> MouseInput::Translate(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  if (message == WM_MOUSEWHEEL || message == WM_MOUSEHWHEEL) {
    return Wheel(window, message, wparam, lparam);
  }
  const POINT at{GET_X_LPARAM(lparam), GET_Y_LPARAM(lparam)};
  if (message == WM_MOUSEMOVE) {
    Json event = MouseEvent("mouseMoved", at, wparam);
    event.members.emplace_back("button", HeldButton(wparam));
    return event;
  }
  for (const auto& each : kButtons) {
    if (message != each.message) continue;
    if (each.isPress) return Press(each.button, at, wparam);
    Json event = MouseEvent("mouseReleased", at, wparam);
    event.members.emplace_back("button", each.button);
    event.members.emplace_back("clickCount", clicks_);
    return event;
  }
  return std::nullopt;
}

Json MouseInput::Press(const char* button, POINT at, WPARAM keys) {
  Json event = MouseEvent("mousePressed", at, keys);
  event.members.emplace_back("button", button);
  event.members.emplace_back("clickCount", CountClick(button, at));
  return event;
}

int MouseInput::CountClick(const char* button, POINT at) {
  const LONG nowMs = GetMessageTime();
  const bool isRepeated = std::string_view(button) == lastButton_ &&
                          nowMs - lastMs_ <= static_cast<LONG>(GetDoubleClickTime()) &&
                          std::abs(at.x - lastAt_.x) <= GetSystemMetrics(SM_CXDOUBLECLK) &&
                          std::abs(at.y - lastAt_.y) <= GetSystemMetrics(SM_CYDOUBLECLK);
  clicks_ = isRepeated ? clicks_ + 1 : 1;
  lastButton_ = button;
  lastAt_ = at;
  lastMs_ = nowMs;
  return clicks_;
}

}  // namespace wendra
