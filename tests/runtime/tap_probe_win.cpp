// Writes some lines to the debugger, from two threads, and ends. The test looks at what the
// development runtime makes of them on standard output.
#include <cstdlib>
#include <thread>

#include <windows.h>

#include "webview/webview2_win.h"

int main(int count, char**) {
  // Never true; but the DLL must be imported, as the real program imports it.
  if (count > 100) CreateCoreWebView2EnvironmentWithOptions(nullptr, nullptr, nullptr, nullptr);
  OutputDebugStringW(L"[Wendra] first \u2014 \u00e4\u00f6\u00fc \u20ac\n");
  std::thread([] { OutputDebugStringW(L"[Wendra] \u65e5\u672c \U0001f600\n"); }).join();
  OutputDebugStringW(L"[Wendra] last\n");
  return EXIT_SUCCESS;
}
