// The script that carries a reply into the page. Pure.
#pragma once

#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {

enum class ReplyStatus { kFailed, kSucceeded };

// Calls the page's resolve function with the id, the digit 1 or 0, and the value; does nothing in a
// page that has none. The value stands there as its text; one that a script would read otherwise,
// or not at all, stands there as JSON.parse of its text: one with a member "__proto__" anywhere, or
// with more than 1,000 arrays and objects around each other. Deliberate: `reqId` goes between the
// quotes as it is, since the page promises ids without quotes and backslashes.
std::string ResolveScript(std::string_view reqId, ReplyStatus status, const Json& value);

}  // namespace wendra
