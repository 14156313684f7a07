// Counts the values in JSON text without parsing it.
#pragma once

#include <cstddef>
#include <string_view>

namespace wendra {

// Whether `text` holds more than `max` values. The outermost value and all values inside it count,
// keys do not. The count is exact for JSON; in other text it counts what looks like values.
//
// Callers ask this before they parse text from outside, because a parsed value can take a hundred
// times the memory of its text. It reads each byte at most once, stops at the first value beyond
// `max`, and allocates nothing. Any thread.
bool HoldsMoreValues(std::string_view text, size_t max);

}  // namespace wendra
