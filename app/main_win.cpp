// The entry of the program: chooses the server, then runs the application.
#include <exception>
#include <string>
#include <utility>

#include "app/application_win.h"
#include "app/window_log_win.h"
#include "base/language.h"
#include "base/product.h"
#include "config/config_file_win.h"
#include "config/server_choice.h"
#include "config/prompt/server_prompt_win.h"
#include "win/process_policy.h"
#include "win/wide.h"

#include <windows.h>

#include <commctrl.h>
#include <objbase.h>
#include <shellapi.h>
#include <shobjidl.h>

namespace {

// Puts the UI thread into a single-threaded COM apartment, for its own lifetime.
class ComApartment {
 public:
  ComApartment() : isEntered_(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {}
  ~ComApartment() {
    if (isEntered_) CoUninitialize();
  }
  ComApartment(const ComApartment&) = delete;
  ComApartment& operator=(const ComApartment&) = delete;

 private:
  const bool isEntered_;
};

void InitializeCommonControls() {
  constexpr DWORD kFirstEightClassBits = 0xFF;
  const INITCOMMONCONTROLSEX classes{sizeof(classes), kFirstEightClassBits};
  InitCommonControlsEx(&classes);
}

// The exit code that Windows gives a program whose library is missing: STATUS_DLL_NOT_FOUND.
constexpr int kLibraryMissing = static_cast<int>(0xC000'0135);

// The vendors' libraries, which are installed with the program. False: one is missing; the user has
// been told.
bool LoadVendorLibraries() {
  const wchar_t* const missing =
      wendra::LoadLibrariesBesideProgram({L"WebView2Loader.dll", L"WinSparkle.dll"});
  if (!missing) return true;
  const wchar_t* const trouble = wendra::IsGerman(GetUserDefaultUILanguage())
                                     ? L" fehlt oder ist beschädigt. Bitte installiere Wendra neu."
                                     : L" is missing or damaged. Please install Wendra again.";
  MessageBoxW(nullptr, (missing + std::wstring(trouble)).c_str(), L"Wendra", MB_OK | MB_ICONERROR);
  return false;
}

// The first argument after the program's path; "" if there is none. Further arguments are ignored.
std::string FirstArgument() {
  int count = 0;
  wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
  std::string first = count > 1 ? wendra::Narrow(arguments[1]) : std::string();
  LocalFree(arguments);
  return first;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
  // End at once: the default shows a message box, which dispatches messages until the user closes
  // it.
  std::set_terminate([] { RaiseFailFastException(nullptr, nullptr, 0); });
  wendra::ApplyProcessPolicy();
  if (!LoadVendorLibraries()) return kLibraryMissing;
  const ComApartment apartment;
  InitializeCommonControls();
  (void)SetCurrentProcessExplicitAppUserModelID(wendra::kApplicationId);

  // Never freed: other threads may log until the process ends.
  auto& log = *new wendra::WindowLog;
  wendra::ConfigFile config(wendra::ConfigFilePath(), log);
  wendra::WindowServerPrompt prompt(instance);
  wendra::ServerChoice choice(FirstArgument(), config, prompt, log);
  std::string server = choice.SelectServerAtStartup();
  if (server.empty()) return 0;  // the user has cancelled the prompt

  return wendra::Application(instance, std::move(server), log, config).Run();
}
