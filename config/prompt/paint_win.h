// Draws what the first-run prompt's controls do not draw by themselves.
#pragma once

#include "config/prompt/color.h"
#include "config/prompt/layout.h"

#include <windows.h>

namespace wendra {

COLORREF ToColorRef(Rgb color);
RECT ToRect(const PromptBox& box);

// A rounded rectangle with a border of one scaled pixel.
void DrawRounded(HDC dc, const RECT& box, Rgb fill, Rgb border, int percent);

struct ButtonLook {
  ButtonColors colors;
  bool hasFocus = false;  // shown by a line inside the border
};

// The whole button with its label in the middle, on the prompt's footer.
void DrawButton(HDC dc, const RECT& box, const wchar_t* label, HFONT font, const ButtonLook& look,
                int percent);

}  // namespace wendra
