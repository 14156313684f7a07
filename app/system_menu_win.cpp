#include "app/system_menu_win.h"

#include "base/language.h"

namespace wendra {

void AddSystemMenuItems(HWND window, std::uint16_t uiLanguage) {
  const struct {
    UINT command;
    const wchar_t* english;
    const wchar_t* german;
  } items[] = {
      {kShowLogItem, L"Show &log\tCtrl+L", L"&Protokoll anzeigen\tStrg+L"},
      {kReloadItem, L"&Reload\tCtrl+R", L"Neu &laden\tStrg+R"},
      {kCheckForUpdatesItem, L"Check for &updates…\tCtrl+U", L"Nach &Updates suchen…\tStrg+U"},
  };
  const HMENU menu = GetSystemMenu(window, FALSE);
  if (!menu) return;
  (void)AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  for (const auto& item : items) {
    (void)AppendMenuW(menu, MF_STRING, item.command,
                      IsGerman(uiLanguage) ? item.german : item.english);
  }
}

void TickShowLog(HWND window, bool isShown) {
  const HMENU menu = GetSystemMenu(window, FALSE);
  if (menu) CheckMenuItem(menu, kShowLogItem, isShown ? MF_CHECKED : MF_UNCHECKED);
}

}  // namespace wendra
