#include "config/prompt/layout.h"

#include <algorithm>

namespace wendra {
namespace {

// All sizes are in pixels at 96 DPI.
constexpr int kWidth = 480;
constexpr int kMargin = 24;
constexpr int kAboveTitle = 28;
constexpr int kBelowTitle = 8;
constexpr int kAboveLabel = 20;
constexpr int kBelowLabel = 6;
constexpr int kFrameHeight = 32;  // the least; a higher field makes the frame higher
constexpr int kFieldInset = 3;
constexpr int kAboveError = 5;
constexpr int kErrorHeight = 18;  // the least; a higher text makes the row higher
constexpr int kAboveFooter = 22;
constexpr int kFooterHeight = 64;
constexpr int kFooterPadding = 16;
constexpr int kButtonWidth = 110;
constexpr int kButtonHeight = 32;
constexpr int kButtonGap = 8;

}  // namespace

// Rounds as the Windows function MulDiv does.
int ScaleByPercent(int size, int percent) {
  const int product = size * percent;
  return (product + (product < 0 ? -50 : 50)) / 100;
}

int PercentOfDpi(unsigned dpi) { return static_cast<int>(dpi * 100 / 96); }

int PromptTextWidth(int percent) {
  return ScaleByPercent(kWidth, percent) - 2 * ScaleByPercent(kMargin, percent);
}

PromptLayout LayOutPrompt(int percent, const PromptTextHeights& heights) {
  const auto scaled = [percent](int size) { return ScaleByPercent(size, percent); };
  PromptLayout layout;
  layout.width = scaled(kWidth);
  const int left = scaled(kMargin);
  const int right = layout.width - scaled(kMargin);

  // Places the rows from top to bottom. Each row begins `gap` below the end of the last one.
  int y = 0;
  const auto row = [&](int gap, int height) {
    const int top = y + scaled(gap);
    y = top + height;
    return PromptBox{left, top, right, y};
  };
  layout.title = row(kAboveTitle, heights.title);
  layout.introduction = row(kBelowTitle, heights.introduction);
  layout.label = row(kAboveLabel, heights.label);
  layout.frame = row(kBelowLabel, std::max(scaled(kFrameHeight), heights.field));
  layout.error = row(kAboveError, std::max(scaled(kErrorHeight), heights.error));
  layout.footer = row(kAboveFooter, scaled(kFooterHeight));
  layout.footer.left = 0;
  layout.footer.right = layout.width;
  layout.height = layout.footer.bottom;

  const int fieldTop = layout.frame.top + (layout.frame.Height() - heights.field) / 2;
  layout.field = {layout.frame.left + scaled(kFieldInset), fieldTop,
                  layout.frame.right - scaled(kFieldInset), fieldTop + heights.field};

  const int buttonTop = layout.footer.top + scaled(kFooterPadding);
  const auto button = [&](int buttonRight) {
    return PromptBox{buttonRight - scaled(kButtonWidth), buttonTop, buttonRight,
                     buttonTop + scaled(kButtonHeight)};
  };
  layout.accept = button(right);
  layout.cancel = button(layout.accept.left - scaled(kButtonGap));
  return layout;
}

}  // namespace wendra
