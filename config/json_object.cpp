#include "config/json_object.h"

#include <stdexcept>

#include "base/ascii.h"

namespace wendra {

std::optional<Json> ParseJsonObject(std::string_view text) {
  // A long text of brackets takes a second and a hundred times its memory to read.
  if (const std::string_view trimmed = TrimBlanks(text); !trimmed.starts_with('{')) return {};
  Json value;
  try {
    if (!Parse(text, value)) return std::nullopt;
  } catch (const std::out_of_range&) {  // a number like 1e400: such a text does not parse
    return std::nullopt;
  }
  if (value.kind != kJsonObject) return std::nullopt;
  return value;
}

}  // namespace wendra
