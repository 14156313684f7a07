// The table of actions: maps the name that a page asks for to the code that does the work.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "json/json.h"

namespace wendra {

// Does the work of one request on the UI thread. Owes exactly one reply to `reqId`, at once or
// later. The action passes `reqId` to Replies unchanged: it holds the origin of the page and the id
// that the page has chosen (bridge/reply_address.h). `args` is borrowed for the call.
using ActionCallable = std::function<void(std::string reqId, const Json& args)>;

struct Action {
  std::string name;  // compared byte for byte, case-sensitively
  ActionCallable run;
};

// Names are compared in the order of the table; the first match runs.
using ActionTable = std::vector<Action>;

// The text of args[index]; "" if `args` is not an array, is shorter, or holds no string at `index`.
// Every action reads its arguments with this function. The view is valid as long as `args`.
std::string_view StringArgument(const Json& args, size_t index);

}  // namespace wendra
