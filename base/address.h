// Splits addresses (URLs) into their parts. Any text can be split: the callers decide which
// addresses they accept.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// Views into the address that was split: valid as long as that text.
struct AddressParts {
  bool hasScheme = false;      // whether "://" occurs at all
  std::string_view scheme;     // before the first "://"; empty without one
  std::string_view authority;  // from there, or from the start, up to the first '/', '?' or '#'
};

AddressParts SplitAddress(std::string_view address);

// The authority without its user part: the text after the last '@', or all of it without an '@'.
std::string_view HostAndPort(std::string_view authority);

// Whether the scheme is "http" or "https", in any letter case.
bool IsHttp(std::string_view scheme);

// The address that decides the origin of the document at `address`. For a "blob:" address, which a
// page gives to content that it has made itself, this is the text after "blob:". Any other address
// is returned unchanged. The view lies in `address`.
std::string_view AddressOfOrigin(std::string_view address);

// The origin of the document at `address`: scheme, host and port, for example
// "http://localhost:80". Two documents of one origin give the same text. "" if the address has no
// such origin: any scheme but http and https (about:, data:, file:), or no host.
std::string OriginOf(std::string_view address);

}  // namespace wendra
