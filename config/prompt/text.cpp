#include "config/prompt/text.h"

#include "base/language.h"
#include "base/product.h"

namespace wendra {
namespace {

PromptText English() {
  return {
      .title = "Connect to Wendra",
      .introduction = "Enter the address of your Wendra instance.",
      .label = "Instance address",
      .accept = "Continue",
      .cancel = "Cancel",
      .error = std::string("The address must end with ") + kServiceDomain + " or be localhost."};
}

PromptText German() {
  return {.title = "Mit Wendra verbinden",
          .introduction = "Gib die Adresse deiner Wendra-Instanz ein.",
          .label = "Instanz-Adresse",
          .accept = "Weiter",
          .cancel = "Abbrechen",
          .error = std::string("Die Adresse muss auf ") + kServiceDomain +
                   " enden oder localhost sein."};
}

}  // namespace

PromptText PromptTextFor(std::uint16_t uiLanguage) {
  return IsGerman(uiLanguage) ? German() : English();
}

std::string PromptExampleAddress() { return std::string("demo") + kInstanceSuffix; }

}  // namespace wendra
