// The functions that the DLL exports, and its start and end.
#include <string>

#include "devruntime/base/event_file_win.h"
#include "devruntime/failing_calls/failing_calls_win.h"
#include "devruntime/webview2/browser_port_win.h"
#include "devruntime/webview2/control_record_win.h"
#include "devruntime/webview2/environment_win.h"
#include "devruntime/webview2/module_win.h"
#include "devruntime/webview2/program_taps_win.h"
#include "json/objects.h"
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

// Waits for the browser; "" when it does not appear.
std::string AvailableVersion(const ControlSettings& settings) {
  const auto browser = WaitForBrowserPort(settings.browserPortFile, settings.browserWaitMs);
  return browser ? ReadBrowserVersion(browser->port) : std::string();
}

void ReportEnvironment(const ControlSettings& settings, PCWSTR userDataFolder) {
  const std::string folder = userDataFolder ? Narrow(userDataFolder) : std::string();
  EventFile(settings.eventsFile)
      .Write(MakeObject({{"event", "environment"}, {"userDataFolder", folder}}));
}

// When the program loads this DLL, near the start of wWinMain. Earlier calls cannot fail.
void TakeFailures() {
  const std::wstring file = ReadControlSettings().failuresFile;
  if (!file.empty()) TakeFailuresFrom(file);
}

}  // namespace
}  // namespace wendra

// The folder of the browser and the options concern an installed browser. Here the browser already
// runs.
extern "C" HRESULT STDMETHODCALLTYPE CreateCoreWebView2EnvironmentWithOptions(
    PCWSTR, PCWSTR userDataFolder, ICoreWebView2EnvironmentOptions*,
    ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler* handler) {
  using namespace wendra;
  if (!handler) return E_POINTER;
  const ControlSettings settings = ReadControlSettings();
  ReportEnvironment(settings, userDataFolder);
  if (settings.creation == CreationMode::kMissing) return kNoRuntime;
  if (const HRESULT apartment = CheckApartment(); FAILED(apartment)) return apartment;
  if (settings.creation == CreationMode::kRefuse) return settings.creationError;
  PinThisModule();
  return Environment::Create(settings, ComRef<Environment::CreatedHandler>::Share(handler));
}

extern "C" HRESULT STDMETHODCALLTYPE
GetAvailableCoreWebView2BrowserVersionString(PCWSTR, LPWSTR* versionInfo) {
  using namespace wendra;
  if (!versionInfo) return E_POINTER;
  *versionInfo = nullptr;
  const ControlSettings settings = ReadControlSettings();
  if (settings.creation == CreationMode::kMissing) return kNoRuntime;
  const std::string version = AvailableVersion(settings);
  return version.empty() ? E_FAIL : CopyTextTo(version, versionInfo);
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_ATTACH) {
    wendra::TapDebuggerOutput();
    wendra::TapExit();
    wendra::TapShell();
    wendra::TakeFailures();
  }
  if (reason == DLL_PROCESS_DETACH && processEnds) wendra::ReportClosedAtProcessEnd();
  return TRUE;
}
