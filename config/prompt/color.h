// Defines the colours of the first-run prompt. Pure.
#pragma once

#include <cstdint>
#include <string_view>

namespace wendra {

struct Rgb {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  bool operator==(const Rgb&) const = default;
};

constexpr Rgb Grey(std::uint8_t level) { return {level, level, level}; }

inline constexpr Rgb kPromptBackground = Grey(0xFF);
inline constexpr Rgb kPromptFooter = Grey(0xEE);
inline constexpr Rgb kPromptInk = Grey(0x00);
inline constexpr Rgb kPromptError{0xC4, 0x2B, 0x1C};
inline constexpr Rgb kPromptFrame = Grey(0xC4);
inline constexpr Rgb kDefaultAccent{0x00, 0x67, 0xC0};

// The user's accent colour. `value` holds the bytes of Windows' registry value "AccentColor": red,
// green, blue, opacity. A value that is not four bytes long gives kDefaultAccent.
Rgb AccentColor(std::string_view value);

// The colour of the line around the field. An error has priority over the focus.
Rgb FrameColor(bool hasError, bool hasFocus, Rgb accent);

struct ButtonColors {
  Rgb fill;
  Rgb border;
  Rgb label;
  bool operator==(const ButtonColors&) const = default;
};

ButtonColors AcceptButtonColors(Rgb accent);
ButtonColors CancelButtonColors(bool isHovered, bool isPressed);

}  // namespace wendra
