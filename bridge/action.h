// What the page can ask for: the table from an action's name to the code that does it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "json/json.h"

namespace wendra {

// Does the work of one request on the UI thread and owes exactly one reply to `reqId`, at once or
// later. `reqId` goes back to Replies as it came: it names the page that asked, beside the id that
// the page has chosen. `args` is lent for the call.
using ActionCallable = std::function<void(std::string reqId, const Json& args)>;

struct Action {
  std::string name;  // compared byte for byte, case-sensitively
  ActionCallable run;
};

// In the order in which names are compared; the first match runs.
using ActionTable = std::vector<Action>;

// The text of args[index]; "" when `args` is no array, is shorter, or holds no string there. Every
// action reads its arguments this way. The view lives as long as `args`.
std::string_view StringArgument(const Json& args, size_t index);

}  // namespace wendra
