// Reading JSON text that must be an object, as config.json must.
#pragma once

#include <optional>
#include <string_view>

#include "json/json.h"

namespace wendra {

// The object that `text` holds; nothing when the text is no JSON, is no object, or holds a number
// outside the range of a double.
std::optional<Json> ParseJsonObject(std::string_view text);

}  // namespace wendra
