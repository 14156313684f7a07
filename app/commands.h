// The commands of the main window: its keys and its system menu have the same.
#pragma once

#include <cstdint>

namespace wendra {

// In WM_COMMAND.
inline constexpr std::uint16_t kToggleLogPanelCommand = 100;
inline constexpr std::uint16_t kReloadCommand = 101;
inline constexpr std::uint16_t kCheckForUpdatesCommand = 102;

// In the system menu and in WM_SYSCOMMAND: there Windows uses the low four bits itself, and its own
// commands begin at 0xF000.
constexpr std::uint32_t SystemMenuItem(std::uint16_t command) { return command * 16u; }

// The command of a WM_SYSCOMMAND, from its wparam.
constexpr std::uint16_t CommandOfSystemMenu(std::uint64_t wparam) {
  return static_cast<std::uint16_t>((wparam & 0xFFFF) / 16);
}

}  // namespace wendra
