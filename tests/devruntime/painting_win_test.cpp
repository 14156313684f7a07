#include <string>

#include <gtest/gtest.h>

#include "tests/devruntime/test_control_win.h"

namespace wendra {
namespace {

COLORREF PixelAt(HWND window, int x, int y) {
  const HDC dc = GetDC(window);
  const COLORREF color = GetPixel(dc, x, y);
  ReleaseDC(window, dc);
  return color;
}

bool WaitForPixel(HWND window, int x, int y, COLORREF color) {
  return PumpUntil([=] { return PixelAt(window, x, y) == color; });
}

TEST(Painting, ShowsThePageInTheWindow) {
  TestControl control;
  ASSERT_TRUE(
      control.LoadBody("<style>html{background:rgb(10,20,30)}</style>"
                       "<div style='position:absolute;left:50px;top:40px;width:100px;"
                       "height:100px;background:rgb(200,100,0)'></div>"));
  const HWND page = control.PageWindow();
  EXPECT_TRUE(WaitForPixel(page, 5, 5, RGB(10, 20, 30)));
  EXPECT_TRUE(WaitForPixel(page, 51, 41, RGB(200, 100, 0)));
  EXPECT_TRUE(WaitForPixel(page, 149, 139, RGB(200, 100, 0)));
  EXPECT_EQ(PixelAt(page, 150, 140), static_cast<COLORREF>(RGB(10, 20, 30)));
}

TEST(Painting, ShowsChangesOfThePage) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("<style>html{background:rgb(10,20,30)}</style>"));
  ASSERT_TRUE(WaitForPixel(control.PageWindow(), 5, 5, RGB(10, 20, 30)));
  control.Evaluate("document.documentElement.style.background = 'rgb(1,2,250)'");
  EXPECT_TRUE(WaitForPixel(control.PageWindow(), 5, 5, RGB(1, 2, 250)));
}

TEST(Bounds, ArePixelsOfTheParent) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  ASSERT_EQ(control.Controller().put_Bounds(RECT{10, 20, 310, 220}), S_OK);
  EXPECT_TRUE(control.WaitFor("innerWidth + 'x' + innerHeight", "\"300x200\""));
  RECT bounds{};
  ASSERT_EQ(control.Controller().get_Bounds(&bounds), S_OK);
  EXPECT_EQ(bounds.left, 10);
  EXPECT_EQ(bounds.bottom, 220);
  const auto placed = [&] {
    RECT rect{};
    GetWindowRect(control.PageWindow(), &rect);
    POINT corner{rect.left, rect.top};
    ScreenToClient(control.Window(), &corner);
    return corner.x == 10 && corner.y == 20 && rect.right - rect.left == 300;
  };
  EXPECT_TRUE(PumpUntil(placed, 5'000) || placed());
}

// The picture that is taken after a load must not restore the size from before.
TEST(Bounds, StayWhenSetRightAfterALoad) {
  TestControl control;
  for (int i = 0; i < 20; ++i) {
    const int width = 300 + i;
    ASSERT_TRUE(control.LoadBody("hello"));
    ASSERT_EQ(control.Controller().put_Bounds(RECT{0, 0, width, 200}), S_OK);
    // Look before and after the page has been painted: pictures that are on their way must not
    // change the size.
    ASSERT_TRUE(control.WaitFor("innerWidth", std::to_string(width)));
    ASSERT_TRUE(WaitForPixel(control.PageWindow(), 250, 150, RGB(255, 255, 255)));
    ASSERT_TRUE(control.WaitFor("innerWidth", std::to_string(width)));
  }
}

TEST(Bounds, WithoutAreaHideThePage) {
  TestControl control;
  ASSERT_TRUE(control.LoadBody("hello"));
  ASSERT_EQ(control.Controller().put_Bounds(RECT{0, 0, 0, 0}), S_OK);
  EXPECT_TRUE(PumpUntil([&] { return !IsWindowVisible(control.PageWindow()); }, 5'000));
  EXPECT_EQ(control.Evaluate("1"), "1");
}

TEST(Visibility, IsOnAtFirstAndCanBeChanged) {
  TestControl control;
  BOOL visible = FALSE;
  ASSERT_EQ(control.Controller().get_IsVisible(&visible), S_OK);
  EXPECT_TRUE(visible);
  ASSERT_EQ(control.Controller().put_IsVisible(FALSE), S_OK);
  EXPECT_TRUE(PumpUntil([&] { return !IsWindowVisible(control.PageWindow()); }, 5'000));
  ASSERT_EQ(control.Controller().put_IsVisible(TRUE), S_OK);
  EXPECT_TRUE(PumpUntil([&] { return IsWindowVisible(control.PageWindow()) != FALSE; }, 5'000));
}

}  // namespace
}  // namespace wendra
