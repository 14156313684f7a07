#include "config/prompt/color.h"

namespace wendra {

Rgb AccentColor(std::string_view value) {
  if (value.size() != 4) return kDefaultAccent;
  const auto byte = [&](size_t at) { return static_cast<std::uint8_t>(value[at]); };
  return {byte(0), byte(1), byte(2)};
}

Rgb FrameColor(bool hasError, bool hasFocus, Rgb accent) {
  if (hasError) return kPromptError;
  return hasFocus ? accent : kPromptFrame;
}

ButtonColors AcceptButtonColors(Rgb accent) { return {accent, accent, Grey(0xFF)}; }

ButtonColors CancelButtonColors(bool isHovered, bool isPressed) {
  const Rgb fill = Grey(isPressed ? 0xF0 : isHovered ? 0xF5 : 0xFB);
  return {fill, Grey(0xCE), kPromptInk};
}

}  // namespace wendra
