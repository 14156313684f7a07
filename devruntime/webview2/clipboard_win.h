// Plain text on the Windows clipboard.
#pragma once

#include <string>

#include <windows.h>

namespace wendra {

// `owner` is a window of the calling thread. Without text the result is "".
std::wstring ReadClipboardText(HWND owner);
void WriteClipboardText(HWND owner, const std::wstring& text);

}  // namespace wendra
