#include "app/system_menu_win.h"

#include "app/commands.h"
#include "base/language.h"

namespace wendra {

void AddSystemMenuItems(HWND window, std::uint16_t uiLanguage) {
  const struct {
    std::uint16_t command;
    const wchar_t* english;
    const wchar_t* german;
  } items[] = {
      {kToggleLogPanelCommand, L"Show &log\tCtrl+L", L"&Protokoll anzeigen\tStrg+L"},
      {kReloadCommand, L"&Reload\tCtrl+R", L"Neu &laden\tStrg+R"},
      {kCheckForUpdatesCommand, L"Check for &updates…\tCtrl+U", L"Nach &Updates suchen…\tStrg+U"},
  };
  const HMENU menu = GetSystemMenu(window, FALSE);
  if (!menu) return;
  (void)AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  for (const auto& item : items) {
    (void)AppendMenuW(menu, MF_STRING, SystemMenuItem(item.command),
                      IsGerman(uiLanguage) ? item.german : item.english);
  }
}

void TickShowLog(HWND window, bool isShown) {
  const HMENU menu = GetSystemMenu(window, FALSE);
  if (!menu) return;
  CheckMenuItem(menu, SystemMenuItem(kToggleLogPanelCommand), isShown ? MF_CHECKED : MF_UNCHECKED);
}

}  // namespace wendra
