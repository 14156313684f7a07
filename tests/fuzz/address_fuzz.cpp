// Addresses from the command line, the configuration and the page: whatever the bytes, the rules
// agree with each other.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "base/address.h"
#include "base/ascii.h"
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
  const std::string scheme = wendra::LowerAscii(wendra::SplitAddress(text).scheme);
  Require(wendra::IsTrustedPage(text, text) == (scheme == "http" || scheme == "https"));
  Require(wendra::StaysInside(text, text));
  // What follows the host changes nothing.
  Require(wendra::IsAllowedServerUrl(url) == wendra::IsAllowedServerUrl(url + "/@x"));
  return 0;
}
