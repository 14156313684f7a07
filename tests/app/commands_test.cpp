#include "app/commands.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

constexpr std::uint16_t kCommands[] = {kToggleLogPanelCommand, kReloadCommand,
                                       kCheckForUpdatesCommand};

TEST(Commands, ComeBackFromTheSystemMenu) {
  for (const std::uint16_t command : kCommands) {
    const std::uint32_t item = SystemMenuItem(command);
    EXPECT_EQ(item & 0xF, 0u);
    EXPECT_LT(item, 0xF000u);
    EXPECT_EQ(CommandOfSystemMenu(item), command);
    EXPECT_EQ(CommandOfSystemMenu(item | 0x3), command);  // Windows uses the low bits
  }
}

TEST(Commands, AreNotThoseOfWindows) {
  constexpr std::uint32_t kSize = 0xF000;
  constexpr std::uint32_t kClose = 0xF060;
  for (const std::uint16_t command : kCommands) {
    EXPECT_NE(CommandOfSystemMenu(kSize), command);
    EXPECT_NE(CommandOfSystemMenu(kClose), command);
  }
}

}  // namespace
}  // namespace wendra
