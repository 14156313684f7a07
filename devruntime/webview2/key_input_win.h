// Translates key messages of the page's window into parameters of the protocol's Input domain. The
// window's thread.
#pragma once

#include <string>

#include "json/json.h"

#include <windows.h>

namespace wendra {

// The modifier keys that are down, as bits of the Input domain (see mouse_input_win.h).
int KeyModifiers();

// The parameters of Input.dispatchKeyEvent for a WM_KEYDOWN or WM_SYSKEYDOWN. `text` is the
// result of TranslateMessage; it may be "".
Json KeyDown(WPARAM virtualKey, LPARAM lparam, std::wstring text);

// The same for WM_KEYUP and WM_SYSKEYUP.
Json KeyUp(WPARAM virtualKey, LPARAM lparam);

// The same for a character that came without a key, from an input method or another program.
Json Character(std::wstring text);

}  // namespace wendra
