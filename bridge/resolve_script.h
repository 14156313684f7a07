// The script that carries a reply into the page. Pure.
#pragma once

#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {

enum class ReplyStatus { kFailed, kSucceeded };

// Calls the page's resolve function with the id, the digit 1 or 0, and the value; does nothing in a
// page that has none. Deliberate: `reqId` goes between the quotes as it is, since the page promises
// ids without quotes and backslashes.
std::string ResolveScript(std::string_view reqId, ReplyStatus status, const Json& value);

}  // namespace wendra
