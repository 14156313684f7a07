#include "devruntime/webview2/browser_port_win.h"

#include <charconv>

#include "win/unique.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr DWORD kPollMs = 20;  // the file appears once, within some 100 ms of the browser's start
constexpr DWORD kMaxFileBytes = 1024;

std::string ReadSmallFile(const std::wstring& file) {
  const FileHandle handle(CreateFileW(file.c_str(), GENERIC_READ,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                      nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!handle) return {};
  std::string text(kMaxFileBytes, '\0');
  DWORD got = 0;
  if (!ReadFile(handle.Get(), text.data(), kMaxFileBytes, &got, nullptr)) return {};
  text.resize(got);
  return text;
}

}  // namespace

std::optional<BrowserPort> ReadBrowserPort(const std::wstring& file) {
  const std::string text = ReadSmallFile(file);
  const size_t lineEnd = text.find('\n');
  if (lineEnd == std::string::npos) return std::nullopt;
  BrowserPort found;
  if (std::from_chars(text.data(), text.data() + lineEnd, found.port).ec != std::errc{}) {
    return std::nullopt;
  }
  const size_t pathEnd = text.find_first_of("\r\n", lineEnd + 1);
  found.path = Widen(text.substr(lineEnd + 1, pathEnd - lineEnd - 1));
  if (found.port == 0 || found.path.empty()) return std::nullopt;
  return found;
}

std::optional<BrowserPort> WaitForBrowserPort(const std::wstring& file, DWORD waitMs) {
  const ULONGLONG deadline = GetTickCount64() + waitMs;
  for (;;) {
    if (auto found = ReadBrowserPort(file)) return found;
    if (GetTickCount64() >= deadline) return std::nullopt;
    Sleep(kPollMs);
  }
}

}  // namespace wendra
