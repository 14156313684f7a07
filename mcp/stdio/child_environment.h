// Builds the environment block of a local server. Pure.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace wendra {

using WideNamedValues = std::vector<std::pair<std::wstring, std::wstring>>;

// The block for CreateProcessW: "NAME=value" texts in the order of their names' UTF-16 units, each
// followed by a NUL, and one more NUL. a to z in names become upper case.
//
// `hostBlock` holds the variables of the running program, each followed by a NUL. PATH becomes
// `searchDirectories` followed by its old value; so the program's own directories appear twice,
// which does no harm. Then each pair of `env` sets its variable, PATH included. A name or a value
// ends at its first NUL, and a pair without a name sets nothing.
std::wstring BuildChildEnvironment(std::wstring_view hostBlock,
                                   const std::vector<std::wstring>& searchDirectories,
                                   const WideNamedValues& env);

}  // namespace wendra
