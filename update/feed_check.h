// Writes the log lines of the feed check, so that a user who reads the log can tell a failing
// network from a version that is not newer. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/outcome.h"

namespace wendra {

// The log lines, in order. `feed` is the feed's text, or the reason why it could not be fetched.
// `current` is the program's own version; "" if it cannot be read.
std::vector<std::string> ReportFeed(const Outcome<std::string>& feed, std::string_view current);

}  // namespace wendra
