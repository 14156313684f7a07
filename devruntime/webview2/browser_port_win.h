// The endpoint of a running Chromium's DevTools protocol, read from its DevToolsActivePort file.
#pragma once

#include <optional>
#include <string>

#include <windows.h>

#include <winhttp.h>

namespace wendra {

struct BrowserPort {
  INTERNET_PORT port = 0;  // on 127.0.0.1
  std::wstring path;       // of the endpoint for the whole browser
};

// Nothing when the file is missing or incomplete.
std::optional<BrowserPort> ReadBrowserPort(const std::wstring& file);

// Waits at most `waitMs` for the file. Blocks: not for a UI thread.
std::optional<BrowserPort> WaitForBrowserPort(const std::wstring& file, DWORD waitMs);

// The browser's version, like "156.0.1.2"; "" when the browser does not answer. Blocks.
std::string ReadBrowserVersion(INTERNET_PORT port);

}  // namespace wendra
