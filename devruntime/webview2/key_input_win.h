// Key messages of the page's window as calls of the protocol's Input domain.
#pragma once

#include <string>

#include <windows.h>

#include "json/json.h"

namespace wendra {

// Modifier keys that are down, as the Input domain's bits.
int KeyModifiers();

// Parameters of Input.dispatchKeyEvent for a WM_(SYS)KEYDOWN that has been translated to `text`,
// which may be empty. Thread of the window.
Json KeyDown(WPARAM virtualKey, LPARAM lparam, std::wstring text);

// The same for WM_(SYS)KEYUP.
Json KeyUp(WPARAM virtualKey, LPARAM lparam);

// For a character that came without a key of its own (an input method, another program).
Json Character(std::wstring text);

}  // namespace wendra
