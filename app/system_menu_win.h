// The program's items in the system menu of the main window. The menu can be reached while the page
// has the keyboard, the keys of the commands cannot.
#pragma once

#include <cstdint>

#include <windows.h>

namespace wendra {

// Commands of WM_SYSCOMMAND. Windows uses the low four bits itself; its own commands begin at
// 0xF000.
inline constexpr UINT kShowLogItem = 0x0100;
inline constexpr UINT kReloadItem = 0x0110;
inline constexpr UINT kCheckForUpdatesItem = 0x0120;

// The command in the wparam of a WM_SYSCOMMAND.
constexpr UINT SystemMenuItem(WPARAM wparam) { return static_cast<UINT>(wparam & 0xFFF0); }

// Adds the items behind a line: German or English texts, with the keys of the commands.
// `uiLanguage` is a language id.
void AddSystemMenuItems(HWND window, std::uint16_t uiLanguage);

// Sets or removes the tick of kShowLogItem.
void TickShowLog(HWND window, bool isShown);

}  // namespace wendra
