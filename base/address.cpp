#include "base/address.h"

#include "base/ascii.h"

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

bool IsHttp(std::string_view scheme) {
  const std::string lower = LowerAscii(scheme);
  return lower == "http" || lower == "https";
}

std::string_view AddressOfOrigin(std::string_view address) {
  constexpr std::string_view kBlob = "blob:";
  return address.starts_with(kBlob) ? address.substr(kBlob.size()) : address;
}

std::string OriginOf(std::string_view address) {
  const AddressParts parts = SplitAddress(AddressOfOrigin(address));
  const std::string_view hostAndPort = HostAndPort(parts.authority);
  if (!IsHttp(parts.scheme) || hostAndPort.empty()) return {};
  if (hostAndPort.starts_with('[') && hostAndPort.find(']') == std::string_view::npos) return {};
  const std::string scheme = LowerAscii(parts.scheme);
  std::string origin = scheme + "://" + LowerAscii(hostAndPort);
  // Colons inside brackets belong to an IPv6 address: the port's colon follows the bracket.
  const size_t colon =
      hostAndPort.find(':', hostAndPort.starts_with('[') ? hostAndPort.find(']') : 0);
  const bool hasColon = colon != std::string_view::npos;
  if (hasColon && colon + 1 < hostAndPort.size()) return origin;
  if (!hasColon) origin += ':';
  return origin + (scheme == "https" ? "443" : "80");
}

}  // namespace wendra
