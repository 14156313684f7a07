// Where everything lies in the first-run prompt. Pure; device pixels unless said otherwise.
#pragma once

namespace wendra {

// A size at 96 DPI in the pixels of a display: `percent` is its DPI as percentage of 96, halves
// round away from zero.
int ScaleByPercent(int size, int percent);

// 100 at 96 DPI, fractions cut off.
int PercentOfDpi(unsigned dpi);

struct PromptBox {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  int Width() const { return right - left; }
  int Height() const { return bottom - top; }
  bool operator==(const PromptBox&) const = default;
};

// The heights of the texts, as wide as PromptTextWidth, in the fonts of the display.
struct PromptTextHeights {
  int title = 0;
  int introduction = 0;
  int label = 0;
  int field = 0;  // of one line
  int error = 0;
};

struct PromptLayout {
  int width = 0;
  int height = 0;
  PromptBox title;
  PromptBox introduction;
  PromptBox label;
  PromptBox frame;  // the line around the field
  PromptBox field;
  PromptBox error;  // its place is kept free, so that nothing moves when it shows
  PromptBox footer;
  PromptBox accept;
  PromptBox cancel;
};

// How wide a text may be before it is broken into lines.
int PromptTextWidth(int percent);

PromptLayout LayOutPrompt(int percent, const PromptTextHeights& heights);

}  // namespace wendra
