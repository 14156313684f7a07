#include "app/layout.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(LayOutClient, GivesThePanelTwoHundredPixelsWhenVisible) {
  const struct {
    int width, height;
    bool panelIsVisible;
    Box page, panel;
  } cases[] = {
      {1252, 873, false, {0, 0, 1252, 873}, {0, 873, 1252, 873}},
      {1252, 873, true, {0, 0, 1252, 673}, {0, 673, 1252, 873}},
      {300, 200, true, {0, 0, 300, 0}, {0, 0, 300, 200}},
      {300, 150, true, {0, 0, 300, -50}, {0, -50, 300, 150}},  // nothing is clamped
      {0, 0, false, {}, {}},
  };
  for (const auto& c : cases) {
    const ClientLayout layout = LayOutClient(c.width, c.height, c.panelIsVisible);
    EXPECT_TRUE(layout.page == c.page) << c.height;
    EXPECT_TRUE(layout.panel == c.panel) << c.height;
  }
}

TEST(MinimumWindowSize, FollowsTheDpiRoundedToTheNearestPixel) {
  const struct {
    unsigned dpi;
    Size want;
  } cases[] = {{0, {720, 480}},    {96, {720, 480}},   {120, {900, 600}},
               {144, {1080, 720}}, {192, {1440, 960}}, {97, {728, 485}},  // 727.5 goes up
               {101, {758, 505}}};                                        // 757.5
  for (const auto& c : cases) EXPECT_TRUE(MinimumWindowSize(c.dpi) == c.want) << c.dpi;
}

}  // namespace
}  // namespace wendra
