// ASCII rules for text. Bytes that are not ASCII, such as those of UTF-8, stay as they are.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// `text` with A to Z replaced by a to z; all other bytes unchanged.
std::string LowerAscii(std::string_view text);

// `text` without leading and trailing whitespace: space, tab, CR and LF, nothing else.
std::string_view TrimWhitespace(std::string_view text);

}  // namespace wendra
