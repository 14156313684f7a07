#include "config/prompt/paint_win.h"

#include <algorithm>

#include "win/unique.h"

namespace wendra {
namespace {

constexpr int kCornerRadius = 4;  // in pixels at 96 DPI
constexpr int kFocusInset = 3;    // in pixels at 96 DPI

struct GdiObjectTraits {
  using Raw = HGDIOBJ;
  static Raw Empty() { return nullptr; }
  static void Close(Raw object) { DeleteObject(object); }
};
using GdiObject = Unique<GdiObjectTraits>;

// Selects a GDI object for one scope; the destructor selects the old one again.
class Selection {
 public:
  Selection(HDC dc, HGDIOBJ object) : dc_(dc), before_(SelectObject(dc, object)) {}
  ~Selection() { SelectObject(dc_, before_); }
  Selection(const Selection&) = delete;
  Selection& operator=(const Selection&) = delete;

 private:
  const HDC dc_;
  const HGDIOBJ before_;
};

void DrawShape(HDC dc, const RECT& box, HGDIOBJ fill, Rgb border, int percent) {
  const int width = std::max(1, ScaleByPercent(1, percent));
  const GdiObject pen(CreatePen(PS_INSIDEFRAME, width, ToColorRef(border)));
  const Selection withPen(dc, pen.Get());
  const Selection withFill(dc, fill);
  const int corner = 2 * ScaleByPercent(kCornerRadius, percent);
  RoundRect(dc, box.left, box.top, box.right, box.bottom, corner, corner);
}

}  // namespace

COLORREF ToColorRef(Rgb color) { return RGB(color.red, color.green, color.blue); }

RECT ToRect(const PromptBox& box) { return {box.left, box.top, box.right, box.bottom}; }

void DrawRounded(HDC dc, const RECT& box, Rgb fill, Rgb border, int percent) {
  const GdiObject brush(CreateSolidBrush(ToColorRef(fill)));
  DrawShape(dc, box, brush.Get(), border, percent);
}

void DrawButton(HDC dc, const RECT& box, const wchar_t* label, HFONT font, const ButtonLook& look,
                int percent) {
  const GdiObject footer(CreateSolidBrush(ToColorRef(kPromptFooter)));
  FillRect(dc, &box, static_cast<HBRUSH>(footer.Get()));
  DrawRounded(dc, box, look.colors.fill, look.colors.border, percent);
  if (look.hasFocus) {
    RECT inner = box;
    const int inset = ScaleByPercent(kFocusInset, percent);
    InflateRect(&inner, -inset, -inset);
    DrawShape(dc, inner, GetStockObject(NULL_BRUSH), look.colors.label, percent);
  }
  const Selection withFont(dc, font);
  SetBkMode(dc, TRANSPARENT);
  SetTextColor(dc, ToColorRef(look.colors.label));
  RECT text = box;
  DrawTextW(dc, label, -1, &text, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);
}

}  // namespace wendra
