// Plain text on the Windows clipboard.
#pragma once

#include <string>

#include <windows.h>

namespace wendra {

// "" if there is none. `owner` belongs to the calling thread.
std::wstring ReadClipboardText(HWND owner);
void WriteClipboardText(HWND owner, const std::wstring& text);

}  // namespace wendra
