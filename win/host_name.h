// Host names in the form in which the network knows them.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// The name in ASCII ("bücher.test" becomes "xn--bcher-kva.test"); unchanged where it has no such
// form, and where it is ASCII already.
std::string AsciiHostName(std::string_view host);

}  // namespace wendra
