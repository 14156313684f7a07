// Turns the text that the user typed into an address, and decides which addresses may be loaded.
// Pure. All text is UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// Removes whitespace around `text`, and adds the instance suffix if the rest is a bare word: it
// holds none of . : / \ ? # and is not "localhost". Text of whitespace only is returned unchanged.
// Adds no scheme.
std::string NormalizeServerInput(std::string_view text);

// The address in `text` without whitespace around it and without slashes at its end. If it has no
// scheme, "https://" is added. Letter case stays. "" if the result is not an http or https address
// with a host.
std::string ParseHttpUrl(std::string_view text);

// The host of `url` in lower case, without user part, port and the brackets of an IPv6 literal.
std::string UrlHost(std::string_view url);

// Whether `host`, as UrlHost gives it, is on the allowlist: this machine ("localhost", "127.0.0.1",
// "::1"), the service domain, and every host below the service domain.
bool IsAllowedHost(std::string_view host);

// Whether `url`, as ParseHttpUrl gives it, may be loaded: its host is allowed, and its authority
// holds no backslash, NUL or other control character. With one of these a browser could find
// another host in the address.
bool IsAllowedServerUrl(std::string_view url);

// Whether the page at `pageUrl` may use this program: it is an http or https page, and its host is
// the host of `serverUrl` or an allowed one. A "blob:" document counts as the page that made it,
// whose origin is in its address. Every other page gets false, even if a redirect led to it.
bool IsTrustedPage(std::string_view pageUrl, std::string_view serverUrl);

}  // namespace wendra
