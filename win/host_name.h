// Converts host names to the ASCII form that the network uses.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// The ASCII form of `host`: "bücher.test" becomes "xn--bcher-kva.test". A name that is ASCII
// already, or that has no ASCII form, is returned unchanged.
std::string AsciiHostName(std::string_view host);

}  // namespace wendra
