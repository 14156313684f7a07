// The action platform: facts about the system and the user.
#pragma once

#include <string>

#include "bridge/action.h"
#include "bridge/replies.h"
#include "json/json.h"

namespace wendra {

struct PlatformFacts {  // all UTF-8
  std::string version;  // major.minor.build of the kernel; "0.0.0" if it is not known
  std::string user;     // account name; "" if it is not known
  std::string home;     // profile folder; "" if it is not known
};

// Reads the facts from the system at each call. Windows only.
PlatformFacts ReadPlatformFacts();

// The value of the reply: an object with the members name, version, user and home, in this order.
Json PlatformValue(const PlatformFacts& facts);

// Replies before it returns. Borrows `replies`. Windows only.
Action PlatformAction(Replies& replies);

}  // namespace wendra
