// Which navigations stay in the window. Pure; addresses in UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// What stands between "://" and the next '/', '?', '#' or ':', in lower case; "" without "://".
std::string HostOfAddress(std::string_view address);

// Whether a navigation of the user's to `target` stays in the window that shows `server`. Scheme
// and port are deliberately not compared; an address without a host stays inside.
bool StaysInside(std::string_view target, std::string_view server);

}  // namespace wendra
