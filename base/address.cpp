#include "base/address.h"

namespace wendra {

AddressParts SplitAddress(std::string_view address) {
  constexpr std::string_view kSeparator = "://";
  AddressParts parts;
  const size_t separator = address.find(kSeparator);
  std::string_view rest = address;
  if (separator != std::string_view::npos) {
    parts.hasScheme = true;
    parts.scheme = address.substr(0, separator);
    rest = address.substr(separator + kSeparator.size());
  }
  parts.authority = rest.substr(0, rest.find_first_of("/?#"));
  return parts;
}

std::string_view HostAndPort(std::string_view authority) {
  const size_t at = authority.rfind('@');
  return at == std::string_view::npos ? authority : authority.substr(at + 1);
}

}  // namespace wendra
