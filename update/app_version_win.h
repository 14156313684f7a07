// Reads the version of a program file from the file's version resource.
#pragma once

#include <string>
#include <vector>

namespace wendra {

// The file version in `resource`, which is a version resource as GetFileVersionInfoW gives it: the
// text FileVersion of the first language that has one which is not empty; else the four numbers of
// the fixed file version; else "". UTF-8.
std::string FileVersionIn(const std::vector<char>& resource);

// The version of the running program; "" if it cannot be read. Any thread.
std::string CurrentVersion();

}  // namespace wendra
