#include "app/layout.h"

#include <cmath>

namespace wendra {
namespace {

int Scale(int size, double scale) { return static_cast<int>(std::lround(size * scale)); }

}  // namespace

ClientLayout LayOutClient(int widthPx, int heightPx, bool panelIsVisible) {
  const int border = heightPx - (panelIsVisible ? kLogPanelHeightPx : 0);
  return {.page = {0, 0, widthPx, border}, .panel = {0, border, widthPx, heightPx}};
}

Size MinimumWindowSize(unsigned dpi) {
  const double scale = dpi == 0 ? 1.0 : dpi / 96.0;
  return {Scale(720, scale), Scale(480, scale)};
}

}  // namespace wendra
