#include "config/prompt/layout.h"

#include <vector>

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(PromptScale, RoundsToTheNearestPixel) {
  const struct {
    int size, percent, want;
  } cases[] = {{480, 100, 480}, {480, 150, 720}, {5, 150, 8},   {3, 150, 5},
               {1, 125, 1},     {2, 125, 3},     {-5, 150, -8}, {0, 200, 0}};
  for (const auto& c : cases) EXPECT_EQ(ScaleByPercent(c.size, c.percent), c.want) << c.size;
  const struct {
    unsigned dpi;
    int want;
  } percents[] = {{96, 100}, {120, 125}, {144, 150}, {192, 200}, {100, 104}, {0, 0}};
  for (const auto& c : percents) EXPECT_EQ(PercentOfDpi(c.dpi), c.want) << c.dpi;
}

TEST(PromptLayout, HasItsFixedSizesAtEveryDpi) {
  for (const int percent : {100, 125, 150, 200}) {
    const auto scaled = [percent](int size) { return ScaleByPercent(size, percent); };
    const PromptLayout layout =
        LayOutPrompt(percent, {scaled(27), scaled(19), scaled(19), scaled(19), scaled(17)});
    EXPECT_EQ(layout.width, scaled(480));
    EXPECT_EQ(layout.title.Width(), PromptTextWidth(percent));  // texts are measured for this width
    for (const PromptBox& box :
         {layout.title, layout.introduction, layout.label, layout.frame, layout.error}) {
      EXPECT_EQ(box.left, scaled(24));
      EXPECT_EQ(box.right, layout.width - scaled(24));
    }
    EXPECT_EQ(layout.accept.Width(), scaled(110));
    EXPECT_EQ(layout.accept.Height(), scaled(32));
    EXPECT_EQ(layout.cancel.Width(), scaled(110));
    EXPECT_EQ(layout.accept.right, layout.width - scaled(24));
    EXPECT_EQ(layout.accept.left - layout.cancel.right, scaled(8));
    EXPECT_EQ(layout.accept.top, layout.cancel.top);
    EXPECT_EQ(layout.footer, (PromptBox{0, layout.footer.top, layout.width, layout.height}));
  }
}

// For fonts of any size, the rows do not overlap, the field is inside its frame and the buttons are
// inside the footer.
TEST(PromptLayout, KeepsItsRowsApart) {
  const PromptTextHeights fonts[] = {
      {0, 0, 0, 0, 0}, {27, 19, 19, 19, 17}, {54, 38, 76, 38, 34}, {200, 200, 200, 200, 200}};
  for (const int percent : {100, 125, 150, 175, 200, 300}) {
    for (const PromptTextHeights& heights : fonts) {
      const PromptLayout layout = LayOutPrompt(percent, heights);
      int y = 0;
      for (const PromptBox& row : {layout.title, layout.introduction, layout.label, layout.frame,
                                   layout.error, layout.footer}) {
        EXPECT_GT(row.top, y);
        y = row.bottom;
      }
      EXPECT_EQ(layout.height, y);
      EXPECT_GE(layout.field.top, layout.frame.top);
      EXPECT_LE(layout.field.bottom, layout.frame.bottom);
      EXPECT_GT(layout.field.left, layout.frame.left);
      EXPECT_LT(layout.field.right, layout.frame.right);
      EXPECT_GT(layout.accept.top, layout.footer.top);
      EXPECT_LT(layout.accept.bottom, layout.footer.bottom);
      EXPECT_GE(layout.error.Height(), heights.error);
      EXPECT_EQ(layout.title.Height(), heights.title);
    }
  }
}

}  // namespace
}  // namespace wendra
