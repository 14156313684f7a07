// Converts UTF-8 to UTF-16 and back, for calls of the operating system.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// These functions never fail: parts that are not well-formed become U+FFFD. The input has at most
// 2^31 - 1 bytes (Widen) or UTF-16 units (Narrow).
std::wstring Widen(std::string_view utf8);
std::string Narrow(std::wstring_view utf16);

}  // namespace wendra
