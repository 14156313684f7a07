// The functions that the DLL exports, and its start and end.
#include "devruntime/failing_calls/failing_calls_win.h"
#include "devruntime/webview2/browser_port_win.h"
#include "devruntime/webview2/control_record_win.h"
#include "devruntime/webview2/debug_tap_win.h"
#include "devruntime/webview2/environment_win.h"
#include "devruntime/webview2/event_file_win.h"
#include "devruntime/webview2/exit_tap_win.h"
#include "devruntime/webview2/module_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr HRESULT kNoRuntime = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);

HRESULT CheckApartment() {
  APTTYPE type{};
  APTTYPEQUALIFIER qualifier{};
  if (FAILED(CoGetApartmentType(&type, &qualifier))) return CO_E_NOTINITIALIZED;
  return type == APTTYPE_MTA ? RPC_E_CHANGED_MODE : S_OK;
}

std::string AvailableVersion(const Settings& settings) {
  const auto where = WaitForBrowserPort(settings.browserPortFile, settings.browserWaitMs);
  Json version;
  if (!where || !Parse(GetLocalText(where->port, L"/json/version"), version)) return {};
  return VersionOfProduct(TextOf(version, "Browser"));
}

void TellEnvironmentWanted(const Settings& settings, PCWSTR userDataFolder) {
  const std::string folder = userDataFolder ? Narrow(userDataFolder) : std::string();
  EventFile(settings.eventsFile)
      .Write(MakeObject({{"event", "environment"}, {"userDataFolder", folder}}));
}

// Before the program runs, so that even its first calls can fail.
void TakeFailures() {
  const std::wstring file = ReadSettings().failuresFile;
  if (!file.empty()) TakeFailuresFrom(file);
}

}  // namespace
}  // namespace wendra

// The folders and options concern an installed browser; this one is already running.
extern "C" HRESULT STDMETHODCALLTYPE CreateCoreWebView2EnvironmentWithOptions(
    PCWSTR, PCWSTR userDataFolder, ICoreWebView2EnvironmentOptions*,
    ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler* handler) {
  using namespace wendra;
  if (!handler) return E_POINTER;
  const Settings settings = ReadSettings();
  TellEnvironmentWanted(settings, userDataFolder);
  if (settings.creation == CreationMode::kMissing) return kNoRuntime;
  if (const HRESULT apartment = CheckApartment(); FAILED(apartment)) return apartment;
  PinThisModule();
  return Environment::Create(settings, ComRef<Environment::CreatedHandler>(handler));
}

extern "C" HRESULT STDMETHODCALLTYPE
GetAvailableCoreWebView2BrowserVersionString(PCWSTR, LPWSTR* versionInfo) {
  using namespace wendra;
  if (!versionInfo) return E_POINTER;
  *versionInfo = nullptr;
  const Settings settings = ReadSettings();
  if (settings.creation == CreationMode::kMissing) return kNoRuntime;
  const std::string version = AvailableVersion(settings);
  return version.empty() ? E_FAIL : CopyTextTo(version, versionInfo);
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_ATTACH) {
    wendra::InstallDebugTap();
    wendra::InstallExitTap();
    wendra::TakeFailures();
  }
  if (reason == DLL_PROCESS_DETACH && processEnds) wendra::TellClosedAtProcessEnd();
  return TRUE;
}
