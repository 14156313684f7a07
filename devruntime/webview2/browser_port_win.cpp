#include "devruntime/webview2/browser_port_win.h"

#include <charconv>

#include "devruntime/webview2/web_socket_win.h"
#include "json/objects.h"
#include "win/file.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr DWORD kPollMs = 20;  // the file appears about 100 ms after the browser's start
constexpr size_t kMaxFileBytes = 1024;

std::string ReadSmallFile(const std::wstring& path) {
  const FileHandle file = OpenForReading(path);
  if (!file) return {};
  std::string text(kMaxFileBytes, '\0');
  text.resize(ReadInto(file, text));
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
  const ULONGLONG deadlineMs = GetTickCount64() + waitMs;
  for (;;) {
    if (auto found = ReadBrowserPort(file)) return found;
    if (GetTickCount64() >= deadlineMs) return std::nullopt;
    Sleep(kPollMs);
  }
}

// The browser gives its product, "Name/1.2.3.4".
std::string ReadBrowserVersion(INTERNET_PORT port) {
  const auto facts = ParseJsonObject(GetLocalText(port, L"/json/version"));
  if (!facts) return {};
  const std::string& product = TextOf(*facts, "Browser");
  const size_t slash = product.find('/');
  return slash == std::string::npos ? std::string() : product.substr(slash + 1);
}

}  // namespace wendra
