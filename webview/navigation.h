// Decides which navigations stay in the window. Pure; addresses are UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// The text between "://" and the next '/', '?', '#' or ':', in lower case (A to Z only); "" if the
// address has no "://". Deliberate: keeps the user part, and gives "[" for an IPv6 host.
std::string HostOfAddress(std::string_view address);

// Whether a navigation that the user has started, to `target`, stays in the window that shows
// `server`: it does if the hosts are equal or `target` has no host. Deliberate: scheme and port are
// not compared.
bool StaysInside(std::string_view target, std::string_view server);

}  // namespace wendra
