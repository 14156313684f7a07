// ASCII rules for text whose other bytes must stay as they are (UTF-8 included).
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// `text` with A to Z replaced by a to z; all other bytes unchanged.
std::string LowerAscii(std::string_view text);

// `text` without leading and trailing blanks: space, tab, CR and LF, nothing else.
std::string_view TrimBlanks(std::string_view text);

}  // namespace wendra
