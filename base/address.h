// The one place that takes an address apart. Who accepts which address is decided elsewhere.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// Views into the address that was split: valid as long as that text is.
struct AddressParts {
  bool hasScheme = false;      // whether "://" occurs at all
  std::string_view scheme;     // before the first "://"; empty without one
  std::string_view authority;  // after it (or from the start) up to the first '/', '?' or '#'
};

AddressParts SplitAddress(std::string_view address);

// The authority without its user part: what follows the last '@'.
std::string_view HostAndPort(std::string_view authority);

// Whether the scheme is "http" or "https", in any letter case.
bool IsHttp(std::string_view scheme);

// The address that a document's origin follows from: of a "blob:" address, which a page gives to
// what it has made itself, the one inside; any other as it is. The view lies in `address`.
std::string_view AddressOfOrigin(std::string_view address);

// The origin of the document at `address`, the same text for the same origin: scheme, host and
// port, as "http://localhost:80". "" for a document whose address names none (about:, data:,
// file:).
std::string OriginOf(std::string_view address);

}  // namespace wendra
