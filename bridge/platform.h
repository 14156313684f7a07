// The action "platform": what machine and user the page runs for.
#pragma once

#include <string>

#include "bridge/action.h"
#include "bridge/replies.h"
#include "json/json.h"

namespace wendra {

struct PlatformFacts {  // all UTF-8
  std::string version;  // major.minor.build of the kernel, "0.0.0" when it cannot be told
  std::string user;     // account name, "" when it cannot be told
  std::string home;     // profile folder, "" when it cannot be told
};

// Asks the system. Windows only.
PlatformFacts ReadPlatformFacts();

// The reply's value: name, version, user, home, in this order.
Json PlatformValue(const PlatformFacts& facts);

// Borrows `replies`. Windows only.
Action PlatformAction(Replies& replies);

}  // namespace wendra
