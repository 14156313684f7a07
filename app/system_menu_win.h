// The program's items in the system menu of the main window. The menu can be reached while the page
// has the keyboard, the keys of the commands cannot.
#pragma once

#include <cstdint>

#include <windows.h>

namespace wendra {

// Adds the items behind a line: German or English texts, with the keys of the commands.
// `uiLanguage` is a language id.
void AddSystemMenuItems(HWND window, std::uint16_t uiLanguage);

// Sets or removes the tick of the item that shows the log.
void TickShowLog(HWND window, bool isShown);

}  // namespace wendra
