// Writes the script that brings a reply into the page. Pure.
#pragma once

#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {

enum class ReplyStatus { kFailed, kSucceeded };

// The script calls the page's resolve function with the id, the digit 1 (succeeded) or 0 (failed)
// and the value; in a page without this function it does nothing.
// The value is written as a literal, which is its JSON text. It is written as JSON.parse of that
// text if a script would read the literal differently or not at all: if the value has a member
// "__proto__" at any depth, or more than 1,000 arrays and objects inside each other.
// Deliberate: `reqId` is written between single quotes without escapes, because the page promises
// ids without quotes and backslashes.
std::string ResolveScript(std::string_view reqId, ReplyStatus status, const Json& value);

}  // namespace wendra
