// What the first-run prompt says, in German or English. Pure.
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

// In the language of the user's Windows, as GetUserDefaultUILanguage gives it: German wherever it
// is spoken, else English.
PromptText PromptTextFor(std::uint16_t uiLanguage);

// What the field shows at first: the address of an instance, to be overwritten.
std::string PromptExampleAddress();

}  // namespace wendra
