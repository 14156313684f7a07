#include "config/prompt/text.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(PromptText, IsGermanForGermanOfEveryRegion) {
  const struct {
    std::uint16_t uiLanguage;
    bool isGerman;
  } cases[] = {
      {0x0407, true},   // Germany
      {0x0807, true},   // Switzerland
      {0x0C07, true},   // Austria
      {0x1407, true},   // Liechtenstein
      {0x0007, true},   // no region
      {0x0409, false},  // English
      {0x040C, false},  // French
      {0x0413, false},  // Dutch
      {0x0707, false}, {0x0417, false}, {0x0000, false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(PromptTextFor(c.uiLanguage).accept, c.isGerman ? "Weiter" : "Continue")
        << c.uiLanguage;
  }
}

TEST(PromptText, HasItsFixedTexts) {
  const PromptText english = PromptTextFor(0x0409);
  EXPECT_EQ(english.title, "Connect to Wendra");
  EXPECT_EQ(english.introduction, "Enter the address of your Wendra instance.");
  EXPECT_EQ(english.label, "Instance address");
  EXPECT_EQ(english.accept, "Continue");
  EXPECT_EQ(english.cancel, "Cancel");
  EXPECT_EQ(english.error, "The address must end with wendra.example or be localhost.");
  const PromptText german = PromptTextFor(0x0407);
  EXPECT_EQ(german.title, "Mit Wendra verbinden");
  EXPECT_EQ(german.introduction, "Gib die Adresse deiner Wendra-Instanz ein.");
  EXPECT_EQ(german.label, "Instanz-Adresse");
  EXPECT_EQ(german.accept, "Weiter");
  EXPECT_EQ(german.cancel, "Abbrechen");
  EXPECT_EQ(german.error, "Die Adresse muss auf wendra.example enden oder localhost sein.");
}

TEST(PromptText, HasAnInstanceAsItsExampleAddress) {
  EXPECT_EQ(PromptExampleAddress(), "demo.on.wendra.example");
}

}  // namespace
}  // namespace wendra
