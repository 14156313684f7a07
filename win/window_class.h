// The parts that the window classes of the program have in common.
#pragma once

#include <windows.h>

namespace wendra {

// A class with the arrow as mouse pointer and neither style nor background. The caller sets
// the other members and registers the class. `name` is borrowed.
WNDCLASSEXW MakeWindowClass(HINSTANCE instance, const wchar_t* name, WNDPROC procedure);

// The icon of the program's resources; null without one. The system owns it.
HICON LoadProgramIcon(HINSTANCE instance);

}  // namespace wendra
