// UTF-8 to UTF-16 and back, at the border to the operating system.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// Neither fails: what is not well-formed becomes U+FFFD. At most 2^31 - 1 units go in.
std::wstring Widen(std::string_view utf8);
std::string Narrow(std::wstring_view utf16);

}  // namespace wendra
