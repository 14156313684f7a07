// The version of a program file, from its own version resource.
#pragma once

#include <string>
#include <vector>

namespace wendra {

// The text FileVersion of a version resource, as GetFileVersionInfoW gives it: that of the first
// language that has a text; else the fixed file version's four numbers; else "".
std::string FileVersionIn(const std::vector<char>& resource);

// The running program's; "" when it cannot be read. Any thread.
std::string CurrentVersion();

}  // namespace wendra
