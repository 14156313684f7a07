// Counts the values of JSON text without reading it into memory.
#pragma once

#include <cstddef>
#include <string_view>

namespace wendra {

// Whether `text` holds more than `max` values, the outermost one and those inside others counted,
// keys not. Exact for JSON; of other text it counts what looks like values. Looks at each byte at
// most once, stops at the first value too many, and takes no memory: a caller asks it before it
// parses text from outside, for in memory a value takes a hundred times its text. Any thread.
bool HoldsMoreValues(std::string_view text, size_t max);

}  // namespace wendra
