#include "win/wide.h"

#include <windows.h>

namespace wendra {

std::wstring Widen(std::string_view utf8) {
  if (utf8.empty()) return {};
  const int bytes = static_cast<int>(utf8.size());
  // One pass: no UTF-8 text has more UTF-16 units than bytes.
  std::wstring wide(utf8.size(), L'\0');
  const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), bytes, wide.data(), bytes);
  wide.resize(static_cast<size_t>(units));
  return wide;
}

std::string Narrow(std::wstring_view utf16) {
  if (utf16.empty()) return {};
  const int units = static_cast<int>(utf16.size());
  const int bytes =
      WideCharToMultiByte(CP_UTF8, 0, utf16.data(), units, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, utf16.data(), units, text.data(), bytes, nullptr, nullptr);
  return text;
}

}  // namespace wendra
