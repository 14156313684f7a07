// Sizes of the main window and what lies in it. Pure; everything in device pixels.
#pragma once

namespace wendra {

// Deliberate: does not follow the DPI.
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

// The page above, the panel below it when it is visible. Nothing is clamped: in a low window the
// page's bottom lies above its top.
ClientLayout LayOutClient(int widthPx, int heightPx, bool panelIsVisible);

struct Size {
  int width = 0;
  int height = 0;
  bool operator==(const Size&) const = default;
};

// The smallest size the user can drag the window to: 720 by 480 at 96 DPI. 0 counts as 96 DPI.
Size MinimumWindowSize(unsigned dpi);

}  // namespace wendra
