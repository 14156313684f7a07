// Which addresses may be loaded, and how what a person typed becomes one. Pure; UTF-8 throughout.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// What a person typed in address form: a bare word (none of . : / \ ? # in it, and not "localhost")
// gets the instance suffix; anything else only loses its surrounding blanks. Text of blanks alone
// comes back as it is. No scheme is added.
std::string NormalizeServerInput(std::string_view text);

// The cleaned address, "https://" in front if it had no scheme, without trailing slashes, letter
// case as typed; "" when it is no http or https address with a host.
std::string ParseHttpUrl(std::string_view text);

// The host in lower case, without user part, port and the brackets of an IPv6 literal.
std::string UrlHost(std::string_view url);

// `host` as UrlHost gives it: this machine ("localhost", "127.0.0.1", "::1"), the service domain or
// a host below it.
bool IsAllowedHost(std::string_view host);

// Whether `url`, as ParseHttpUrl gives it, may be loaded: its host is allowed, and nothing in its
// authority makes a browser find another host there (a backslash, NUL or other control character).
bool IsAllowedServerUrl(std::string_view url);

// Whether the page at `pageUrl` may use the host: an http or https page with the chosen server's
// host or an allowed one, or what such a page has made itself ("blob:" with the page's origin
// inside). A page that a redirect brought into the window from elsewhere may not, nor what it makes
// of itself.
bool IsTrustedPage(std::string_view pageUrl, std::string_view serverUrl);

}  // namespace wendra
