#include "webview/navigation.h"

#include "base/address.h"
#include "base/ascii.h"

namespace wendra {

std::string HostOfAddress(std::string_view address) {
  const AddressParts parts = SplitAddress(address);
  if (!parts.hasScheme) return {};
  return LowerAscii(parts.authority.substr(0, parts.authority.find(':')));
}

bool StaysInside(std::string_view target, std::string_view server) {
  const std::string host = HostOfAddress(target);
  return host.empty() || host == HostOfAddress(server);
}

}  // namespace wendra
