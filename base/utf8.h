// Tells whether text is UTF-8, and whether it holds control characters.
#pragma once

#include <string_view>

namespace wendra {

// Whether each byte of `text` is ASCII or belongs to a complete sequence of two, three or four
// bytes that is not overlong. Surrogates and code points above U+10FFFF are accepted: callers only
// need to tell UTF-8 from other code pages.
bool IsWellFormedUtf8(std::string_view text);

// Whether `text` holds a control character: U+0000 to U+001F (NUL, CR, LF and tab among them) or
// U+007F to U+009F.
bool HoldsControlCharacter(std::string_view text);

}  // namespace wendra
