// The texts of the first-run prompt, in German and English. Pure.
#pragma once

#include <cstdint>
#include <string>

namespace wendra {

struct PromptText {  // UTF-8
  std::string title;
  std::string introduction;
  std::string label;
  std::string accept;
  std::string cancel;
  std::string error;
};

// The texts for `uiLanguage`, a language id as GetUserDefaultUILanguage gives it: German texts for
// German of every region, English texts for all other languages.
PromptText PromptTextFor(std::uint16_t uiLanguage);

// The first text in the field: the address of an example instance, for the user to overwrite.
std::string PromptExampleAddress();

}  // namespace wendra
