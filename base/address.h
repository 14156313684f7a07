// The one place that takes an address apart. Who accepts which address is decided elsewhere.
#pragma once

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

}  // namespace wendra
