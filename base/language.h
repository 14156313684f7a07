// The languages of the program's own texts.
#pragma once

#include <cstdint>

namespace wendra {

// Whether `uiLanguage`, a language id as GetUserDefaultUILanguage gives it, is German of any
// region. For all other languages the texts are English.
constexpr bool IsGerman(std::uint16_t uiLanguage) {
  constexpr std::uint16_t kPrimaryLanguageBits = 0x3FF;  // the other bits are the region
  constexpr std::uint16_t kGerman = 7;
  return (uiLanguage & kPrimaryLanguageBits) == kGerman;
}

}  // namespace wendra
