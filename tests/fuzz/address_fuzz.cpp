// Fuzzes the rules for addresses from the command line, the configuration and the page: for any
// bytes, the rules agree with each other.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/address.h"
#include "config/server_address.h"
#include "webview/navigation.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);

  const std::string normal = wendra::NormalizeServerInput(text);
  Require(wendra::NormalizeServerInput(normal) == normal);
  const std::string url = wendra::ParseHttpUrl(text);
  Require(url.empty() || !wendra::HostAndPort(wendra::SplitAddress(url).authority).empty());

  const std::string host = wendra::UrlHost(text);
  Require(host.find_first_of("/?#") == std::string::npos);
  // A page is trusted only for a host that its document belongs to.
  const std::string origin = wendra::OriginOf(text);
  Require(origin.empty() || wendra::OriginOf(origin) == origin);
  Require(origin.empty() || wendra::IsTrustedPage(text, origin));
  const std::string_view inner = wendra::AddressOfOrigin(text);
  const bool isPage = wendra::IsHttp(wendra::SplitAddress(inner).scheme);
  Require(wendra::IsTrustedPage(text, inner) == isPage);
  Require(origin.empty() || isPage);
  Require(wendra::StaysInside(text, text));
  // No address that may be loaded has a character that a browser would take for the end of the
  // host.
  for (const char c : wendra::SplitAddress(url).authority) {
    const bool endsHost = c == '\\' || c == '\x7F' || (c >= 0 && c < ' ');
    Require(!endsHost || !wendra::IsAllowedServerUrl(url));
  }
  // The text after the host does not matter.
  Require(wendra::IsAllowedServerUrl(url) == wendra::IsAllowedServerUrl(url + "/@x"));
  return 0;
}
