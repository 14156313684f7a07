#include "devruntime/webview2/program_taps_win.h"

#include <mutex>
#include <string>

#include "base/lock.h"
#include "devruntime/base/event_file_win.h"
#include "devruntime/base/variables_win.h"
#include "devruntime/failing_calls/import_table_win.h"
#include "devruntime/webview2/handler_timings_win.h"
#include "devruntime/webview2/settings_win.h"
#include "devruntime/webview2/ui_queue_win.h"
#include "json/objects.h"
#include "win/wide.h"

#include <windows.h>

#include <shellapi.h>

namespace wendra {
namespace {

// A slot of the import table holds only an address, so the replacements find their data here.
decltype(&OutputDebugStringW) realOutput = nullptr;
void(__cdecl* realExit)(int) = nullptr;
decltype(&ShellExecuteW) realShell = nullptr;
Lock outputLock;  // has no destructor: texts come until the process ends

void WriteText(const std::string& text) {
  const std::lock_guard<Lock> lock(outputLock);  // Wine splits a long text into several writes
  DWORD written = 0;
  (void)WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()),
                  &written, nullptr);
}

void WINAPI TappedOutput(LPCWSTR text) {
  const HandlerTimings::DebuggerOutput timing;
  const DWORD error = GetLastError();  // OutputDebugStringW leaves it as it is
  if (text) WriteText(Narrow(text));
  SetLastError(error);
  realOutput(text);
}

void __cdecl TappedExit(int code) {
  EventFile(ReadControlSettings().eventsFile)
      .Write(MakeObject({{"event", "ended"}, {"code", code}}));
  realExit(code);
}

HINSTANCE WINAPI TappedShell(HWND window, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters,
                             LPCWSTR directory, INT show) {
  DispatchMessagesFor(static_cast<DWORD>(DevNumber(L"WENDRA_DEV_SHELL_MS").value_or(0)));
  return realShell(window, verb, file, parameters, directory, show);
}

}  // namespace

void TapDebuggerOutput() {
  if (realOutput || DevVariable(L"WENDRA_DEV_LOG") != L"1") return;
  (void)RedirectImport("OutputDebugStringW", &TappedOutput, realOutput);
}

void TapShell() {
  if (!realShell && DevNumber(L"WENDRA_DEV_SHELL_MS")) {
    (void)RedirectImport("ShellExecuteW", &TappedShell, realShell);
  }
}

void TapExit() {
  if (realExit || ReadControlSettings().eventsFile.empty()) return;
  (void)RedirectImport("exit", &TappedExit, realExit);
}

}  // namespace wendra
