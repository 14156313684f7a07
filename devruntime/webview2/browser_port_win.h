// Where a running Chromium listens for its DevTools protocol, as its DevToolsActivePort file says.
#pragma once

#include <optional>
#include <string>

#include <windows.h>
#include <winhttp.h>

namespace wendra {

struct BrowserPort {
  INTERNET_PORT port = 0;
  std::wstring path;  // of the browser's own endpoint
};

// Nothing when the file is missing or not yet complete.
std::optional<BrowserPort> ReadBrowserPort(const std::wstring& file);

// Waits for it, at most `waitMs`. Blocks: never on a UI thread.
std::optional<BrowserPort> WaitForBrowserPort(const std::wstring& file, DWORD waitMs);

}  // namespace wendra
