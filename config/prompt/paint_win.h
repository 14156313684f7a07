// Draws the parts of the first-run prompt that its controls do not draw: frames and buttons.
#pragma once

#include "config/prompt/color.h"
#include "config/prompt/layout.h"

#include <windows.h>

namespace wendra {

COLORREF ToColorRef(Rgb color);
RECT ToRect(const PromptBox& box);

// Draws a rounded rectangle. Its border is one pixel wide at 96 DPI; `percent` scales it and the
// corners.
void DrawRounded(HDC dc, const RECT& box, Rgb fill, Rgb border, int percent);

struct ButtonLook {
  ButtonColors colors;
  bool hasFocus = false;  // draws a second line inside the border
};

// Draws the whole button with its label in the middle. The prompt's footer colour fills the corners
// outside the rounded border.
void DrawButton(HDC dc, const RECT& box, const wchar_t* label, HFONT font, const ButtonLook& look,
                int percent);

}  // namespace wendra
