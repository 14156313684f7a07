#include "win/host_name.h"

#include <iterator>

#include "win/wide.h"

#include <windows.h>

namespace wendra {

std::string AsciiHostName(std::string_view host) {
  const std::wstring name = Widen(host);
  wchar_t ascii[256];  // a host name has at most 255 characters
  const int units = IdnToAscii(0, name.data(), static_cast<int>(name.size()), ascii,
                               static_cast<int>(std::size(ascii)));
  if (units <= 0) return std::string(host);
  return Narrow(std::wstring_view(ascii, static_cast<size_t>(units)));
}

}  // namespace wendra
