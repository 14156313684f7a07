// The environment that a local server is started with. Pure.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace wendra {

using WideNamedValues = std::vector<std::pair<std::wstring, std::wstring>>;

// The block for CreateProcessW: "NAME=value" texts in the order of their names' UTF-16 units, each
// with its zero, and one more zero. Names are in upper case (A to Z only).
//
// `hostBlock` holds the entries of the running program, each with its zero. PATH becomes
// `searchDirectories` followed by what it was; so the program's own directories appear twice, which
// does no harm. Then each pair of `env` sets its variable, PATH included. A name or a value ends at
// its first zero, and a pair without a name sets nothing.
std::wstring BuildChildEnvironment(std::wstring_view hostBlock,
                                   const std::vector<std::wstring>& searchDirectories,
                                   const WideNamedValues& env);

}  // namespace wendra
