// Writes the script that brings a reply into the page. Pure.
#pragma once

#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {

enum class ReplyStatus { kFailed, kSucceeded };

// The script calls the page's resolve function with the id, the digit 1 (succeeded) or 0 (failed)
// and the value; in a page without this function it does nothing.
// The value is written as its JSON text, which a script reads as a literal. A script would read
// some values differently or not at all; these are written as JSON.parse of their text: values with
// a member "__proto__" at any depth, or with more than 1,000 arrays and objects inside each other.
// Deliberate: `reqId` is written between single quotes without escapes, because the page promises
// ids without quotes and backslashes.
std::string ResolveScript(std::string_view reqId, ReplyStatus status, const Json& value);

}  // namespace wendra
