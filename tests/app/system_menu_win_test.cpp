#include "app/system_menu_win.h"

#include <string>

#include <gtest/gtest.h>

#include "app/commands.h"
#include "tests/support/test_window_win.h"

namespace wendra {
namespace {

constexpr std::uint16_t kGermanOfAustria = 0x0C07;
constexpr std::uint16_t kEnglish = 0x0409;
constexpr std::uint16_t kFrench = 0x040C;

std::wstring ItemText(HMENU menu, UINT item, UINT flag) {
  wchar_t text[100] = L"";
  GetMenuStringW(menu, item, text, static_cast<int>(std::size(text)), flag);
  return text;
}

TEST(SystemMenu, HasTheCommandsWithTheirKeysBehindItsOwn) {
  const struct {
    std::uint16_t language;
    const wchar_t* log;
    const wchar_t* reload;
    const wchar_t* updates;
  } cases[] = {
      {kEnglish, L"Show &log\tCtrl+L", L"&Reload\tCtrl+R", L"Check for &updates\u2026\tCtrl+U"},
      {kFrench, L"Show &log\tCtrl+L", L"&Reload\tCtrl+R", L"Check for &updates\u2026\tCtrl+U"},
      {kGermanOfAustria, L"&Protokoll anzeigen\tStrg+L", L"Neu &laden\tStrg+R",
       L"Nach &Updates suchen\u2026\tStrg+U"},
  };
  for (const auto& c : cases) {
    const TestWindow window;
    const int before = GetMenuItemCount(GetSystemMenu(window.Handle(), FALSE));
    AddSystemMenuItems(window.Handle(), c.language);
    const HMENU menu = GetSystemMenu(window.Handle(), FALSE);
    ASSERT_EQ(GetMenuItemCount(menu), before + 4);
    const auto position = static_cast<UINT>(before);
    EXPECT_NE(GetMenuState(menu, position, MF_BYPOSITION) & MF_SEPARATOR, 0u);
    EXPECT_EQ(ItemText(menu, SystemMenuItem(kToggleLogPanelCommand), MF_BYCOMMAND), c.log);
    EXPECT_EQ(ItemText(menu, position + 1, MF_BYPOSITION), c.log);
    EXPECT_EQ(ItemText(menu, SystemMenuItem(kReloadCommand), MF_BYCOMMAND), c.reload);
    EXPECT_EQ(ItemText(menu, SystemMenuItem(kCheckForUpdatesCommand), MF_BYCOMMAND), c.updates);
  }
}

TEST(SystemMenu, TicksTheLogWhileItIsShown) {
  const TestWindow window;
  AddSystemMenuItems(window.Handle(), kEnglish);
  const auto isTicked = [&] {
    const UINT state = GetMenuState(GetSystemMenu(window.Handle(), FALSE),
                                    SystemMenuItem(kToggleLogPanelCommand), MF_BYCOMMAND);
    return (state & MF_CHECKED) != 0;
  };
  EXPECT_FALSE(isTicked());
  TickShowLog(window.Handle(), true);
  EXPECT_TRUE(isTicked());
  TickShowLog(window.Handle(), false);
  EXPECT_FALSE(isTicked());
}

}  // namespace
}  // namespace wendra
