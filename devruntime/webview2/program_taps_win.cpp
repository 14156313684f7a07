#include "devruntime/webview2/debug_tap_win.h"

#include <mutex>
#include <string>

#include <windows.h>

#include "devruntime/failing_calls/import_table_win.h"
#include "devruntime/webview2/handler_timings_win.h"
#include "devruntime/webview2/settings_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

using OutputFunction = void(WINAPI*)(LPCWSTR);

// The import table has room for a function's address and nothing else, so the replacement finds its
// two companions here.
OutputFunction realOutput = nullptr;
std::mutex* outputMutex = nullptr;  // never freed: lines may come to the very end of the process

void WriteLine(const std::string& line) {
  const std::lock_guard lock(*outputMutex);  // a long line is not one write further down
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written,
            nullptr);
}

void WINAPI TappedOutput(LPCWSTR text) {
  const HandlerTimings::DebuggerOutput timing;
  const DWORD error = GetLastError();  // the real function keeps it, and so must this one
  if (text) WriteLine(Narrow(text));
  SetLastError(error);
  realOutput(text);
}

}  // namespace

void InstallDebugTap() {
  if (realOutput || DevVariable(L"WENDRA_DEV_LOG") != L"1") return;
  ULONGLONG* const slot = FindImportOfProgram("OutputDebugStringW");
  if (!slot) return;
  outputMutex = new std::mutex;
  realOutput = reinterpret_cast<OutputFunction>(*slot);
  (void)RedirectImport(slot, reinterpret_cast<void*>(&TappedOutput));
}

}  // namespace wendra
