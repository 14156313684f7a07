#include "win/window_class.h"

namespace wendra {

WNDCLASSEXW MakeWindowClass(HINSTANCE instance, const wchar_t* name, WNDPROC procedure) {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = instance;
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.lpszClassName = name;
  return windowClass;
}

HICON LoadProgramIcon(HINSTANCE instance) {
  constexpr int kIconId = 1;  // in resources/wendra.rc.in
  return static_cast<HICON>(LoadImageW(instance, MAKEINTRESOURCEW(kIconId), IMAGE_ICON, 0, 0,
                                       LR_DEFAULTSIZE | LR_SHARED));
}

}  // namespace wendra
