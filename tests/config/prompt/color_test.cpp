#include "config/prompt/color.h"

#include <ostream>

#include <gtest/gtest.h>

namespace wendra {

static void PrintTo(const Rgb& color, std::ostream* out) {
  *out << +color.red << "," << +color.green << "," << +color.blue;
}

namespace {

TEST(AccentColor, ComesFromExactlyFourBytes) {
  using namespace std::string_view_literals;
  const struct {
    std::string_view value;
    Rgb want;
  } cases[] = {
      {"\x11\x22\x33\xFF"sv, {0x11, 0x22, 0x33}},
      {"\x00\x80\xFF\x00"sv, {0x00, 0x80, 0xFF}},
      {""sv, {0x00, 0x67, 0xC0}},
      {"\x11\x22\x33"sv, {0x00, 0x67, 0xC0}},
      {"\x11\x22\x33\xFF\x00"sv, {0x00, 0x67, 0xC0}},
      {"\x11\x22\x33\xFF\x00\x00\x00\x00"sv, {0x00, 0x67, 0xC0}},
  };
  for (const auto& c : cases) EXPECT_EQ(AccentColor(c.value), c.want);
}

TEST(FrameColor, ShowsAnErrorBeforeTheFocus) {
  const Rgb accent{1, 2, 3};
  const struct {
    bool hasError, hasFocus;
    Rgb want;
  } cases[] = {
      {false, false, {0xC4, 0xC4, 0xC4}},
      {false, true, accent},
      {true, false, {0xC4, 0x2B, 0x1C}},
      {true, true, {0xC4, 0x2B, 0x1C}},
  };
  for (const auto& c : cases) EXPECT_EQ(FrameColor(c.hasError, c.hasFocus, accent), c.want);
}

TEST(ButtonColors, FollowTheMouse) {
  const Rgb accent{1, 2, 3};
  EXPECT_EQ(AcceptButtonColors(accent), (ButtonColors{accent, accent, Grey(0xFF)}));
  const struct {
    bool isHovered, isPressed;
    std::uint8_t fill;
  } cases[] = {{false, false, 0xFB}, {true, false, 0xF5}, {true, true, 0xF0}, {false, true, 0xF0}};
  for (const auto& c : cases) {
    EXPECT_EQ(CancelButtonColors(c.isHovered, c.isPressed),
              (ButtonColors{Grey(c.fill), Grey(0xCE), Grey(0x00)}));
  }
}

}  // namespace
}  // namespace wendra
