// What counts as UTF-8, and control characters in it.
#pragma once

#include <string_view>

namespace wendra {

// Every sequence has a lead byte of two, three or four, is complete and not overlong. Surrogates
// and values above U+10FFFF are let through: this tells UTF-8 from other code pages, it does not
// police it.
bool IsWellFormedUtf8(std::string_view text);

// Whether `text` holds a control character: U+0000 to U+001F (NUL, CR, LF and tab among them) or
// U+007F to U+009F.
bool HoldsControlCharacter(std::string_view text);

}  // namespace wendra
