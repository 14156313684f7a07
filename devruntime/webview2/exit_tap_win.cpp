#include "devruntime/webview2/exit_tap_win.h"

#include <windows.h>

#include "devruntime/failing_calls/import_table_win.h"
#include "devruntime/webview2/event_file_win.h"
#include "json/objects.h"
#include "devruntime/webview2/settings_win.h"

namespace wendra {
namespace {

using ExitFunction = void(__cdecl*)(int);

ExitFunction realExit = nullptr;

void __cdecl TappedExit(int code) {
  EventFile(ReadSettings().eventsFile).Write(MakeObject({{"event", "ended"}, {"code", code}}));
  realExit(code);
}

}  // namespace

void InstallExitTap() {
  if (realExit || ReadSettings().eventsFile.empty()) return;
  ULONGLONG* const slot = FindImportOfProgram("exit");
  if (!slot) return;
  realExit = reinterpret_cast<ExitFunction>(*slot);
  (void)RedirectImport(slot, reinterpret_cast<void*>(&TappedExit));
}

}  // namespace wendra
