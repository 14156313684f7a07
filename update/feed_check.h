// What the host's own look at the feed says in the log, so that its reader can tell a failing
// network from a version that is not newer.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/outcome.h"

namespace wendra {

// The log lines, in order. `feed` is the feed's text or why it could not be had; `current` the
// program's own version, "" when it cannot be read.
std::vector<std::string> ReportFeed(const Outcome<std::string>& feed, std::string_view current);

}  // namespace wendra
