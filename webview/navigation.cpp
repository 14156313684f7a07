#include "webview/navigation.h"

#include "base/address.h"
#include "base/ascii.h"

#include <algorithm>

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

bool IsWebOrMailAddress(std::string_view address) {
  constexpr std::string_view kSchemes[] = {"http:", "https:", "mailto:"};
  return std::ranges::any_of(kSchemes, [&](std::string_view scheme) {
    return LowerAscii(address.substr(0, scheme.size())) == scheme;
  });
}

bool NavigationRule::MustStayOutside(const NavigationStart& navigation) {
  if (ownTarget_ == navigation.target) {
    ownTarget_.reset();
    return false;
  }
  if (!navigation.isUserInitiated || navigation.isRedirected) return false;
  return !StaysInside(navigation.target, server_) && !StaysInside(navigation.target, namedServer_);
}

}  // namespace wendra
