// Computes the sizes of the main window and of the areas in it, in device pixels. Pure.
#pragma once

namespace wendra {

// Deliberate: the same at every DPI.
inline constexpr int kLogPanelHeightPx = 200;

struct Box {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  bool operator==(const Box&) const = default;
};

struct ClientLayout {
  Box page;
  Box panel;
};

// The page is above, the panel below it. Nothing is clamped: if the window is lower than the panel,
// `page.bottom` is less than `page.top`. Without the panel its box has height 0.
ClientLayout LayOutClient(int widthPx, int heightPx, bool panelIsVisible);

struct Size {
  int width = 0;
  int height = 0;
  bool operator==(const Size&) const = default;
};

// The smallest size to which the user can drag the window: 720 by 480 at 96 DPI. A `dpi` of 0
// counts as 96.
Size MinimumWindowSize(unsigned dpi);

}  // namespace wendra
