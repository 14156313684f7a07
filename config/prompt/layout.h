// Computes the positions of all parts of the first-run prompt, in device pixels. Pure.
#pragma once

namespace wendra {

// Converts `size`, which is in pixels at 96 DPI, to device pixels. `percent` is the display's DPI
// as a percentage of 96. Halves round away from zero.
int ScaleByPercent(int size, int percent);

// `dpi` as a percentage of 96, so 100 at 96 DPI; fractions are cut off.
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

// The heights of the texts in the display's fonts, with lines as wide as PromptTextWidth.
struct PromptTextHeights {
  int title = 0;
  int introduction = 0;
  int label = 0;
  int field = 0;  // the height of one line
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
  PromptBox error;  // empty until there is an error; the space is kept so that no part moves
  PromptBox footer;
  PromptBox accept;
  PromptBox cancel;
};

// The largest width of a line of text; longer texts are broken into lines.
int PromptTextWidth(int percent);

PromptLayout LayOutPrompt(int percent, const PromptTextHeights& heights);

}  // namespace wendra
