#include "config/server_address.h"

#include "base/address.h"
#include "base/ascii.h"
#include "base/product.h"
#include "base/utf8.h"

namespace wendra {
namespace {

// Whether a browser finds the same authority in `url` as we do. A browser also ends the authority
// at a backslash, drops tabs and line ends, and does not get the text after a NUL; so a backslash
// and every control character count as a difference. A space does not: a browser loads no address
// with a space in its authority.
bool ReadsTheSameToABrowser(std::string_view url) {
  const std::string_view authority = SplitAddress(url).authority;
  return authority.find('\\') == std::string_view::npos && !HoldsControlCharacter(authority);
}

}  // namespace

std::string NormalizeServerInput(std::string_view text) {
  const std::string_view trimmed = TrimWhitespace(text);
  if (trimmed.empty()) return std::string(text);
  const bool isBareWord = trimmed.find_first_of(".:/\\?#") == std::string_view::npos;
  if (!isBareWord || LowerAscii(trimmed) == "localhost") return std::string(trimmed);
  return std::string(trimmed) + kInstanceSuffix;
}

std::string ParseHttpUrl(std::string_view text) {
  std::string url(TrimWhitespace(text));
  if (url.empty()) return {};
  if (!SplitAddress(url).hasScheme) url.insert(0, "https://");
  while (url.size() > 1 && url.back() == '/') url.pop_back();

  const AddressParts parts = SplitAddress(url);
  if (HostAndPort(parts.authority).empty()) return {};
  return IsHttp(parts.scheme) ? url : std::string();
}

std::string UrlHost(std::string_view url) {
  const std::string_view hostAndPort = HostAndPort(SplitAddress(url).authority);
  if (hostAndPort.starts_with('[')) {
    const std::string_view inner = hostAndPort.substr(1);
    return LowerAscii(inner.substr(0, inner.find(']')));
  }
  return LowerAscii(hostAndPort.substr(0, hostAndPort.rfind(':')));
}

bool IsAllowedHost(std::string_view host) {
  if (host == "localhost" || host == "127.0.0.1" || host == "::1") return true;
  constexpr std::string_view kDomain = kServiceDomain;
  if (!host.ends_with(kDomain)) return false;
  const std::string_view before = host.substr(0, host.size() - kDomain.size());
  return before.empty() || (before.size() >= 2 && before.ends_with('.'));
}

bool IsAllowedServerUrl(std::string_view url) {
  return ReadsTheSameToABrowser(url) && IsAllowedHost(UrlHost(url));
}

bool IsTrustedPage(std::string_view pageUrl, std::string_view serverUrl) {
  const std::string_view address = AddressOfOrigin(pageUrl);
  if (!IsHttp(SplitAddress(address).scheme)) return false;  // data: and file: name no host
  const std::string host = UrlHost(address);
  return host == UrlHost(serverUrl) || IsAllowedHost(host);
}

}  // namespace wendra
