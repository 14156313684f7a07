#include "devruntime/webview2/settings_win.h"

#include "devruntime/base/variables_win.h"

namespace wendra {
namespace {

DWORD Milliseconds(const wchar_t* name, DWORD otherwise) {
  const auto value = static_cast<DWORD>(DevNumber(name).value_or(0));
  return value == 0 ? otherwise : value;
}

CreationMode Creation() {
  if (DevFlag(L"WENDRA_DEV_NO_RUNTIME", false)) return CreationMode::kMissing;
  const struct {
    const wchar_t* name;
    CreationMode mode;
  } modes[] = {
      {L"missing", CreationMode::kMissing}, {L"refuse", CreationMode::kRefuse},
      {L"fail", CreationMode::kFail},       {L"sync", CreationMode::kSync},
      {L"never", CreationMode::kNever},     {L"controller-fail", CreationMode::kControllerFail},
      {L"abort", CreationMode::kAbort},     {L"no-view", CreationMode::kNoView},
      {L"twice", CreationMode::kTwice},
  };
  const std::wstring wanted = DevVariable(L"WENDRA_DEV_CREATE");
  for (const auto& each : modes) {
    if (wanted == each.name) return each.mode;
  }
  return DevVariable(L"WENDRA_DEV_BROWSER").empty() ? CreationMode::kMissing
                                                    : CreationMode::kNormal;
}

HRESULT CreationError() {
  const std::wstring digits = DevVariable(L"WENDRA_DEV_CREATE_ERROR");
  return digits.empty() ? E_FAIL : static_cast<HRESULT>(std::stoul(digits, nullptr, 16));
}

SourceMode Source(const wchar_t* name) {
  const std::wstring wanted = DevVariable(name);
  if (wanted == L"fail") return SourceMode::kFails;
  if (wanted == L"null") return SourceMode::kNull;
  return wanted == L"empty" ? SourceMode::kEmpty : SourceMode::kAddress;
}

DialogAnswer Dialogs() {
  const std::wstring wanted = DevVariable(L"WENDRA_DEV_DIALOGS");
  if (wanted == L"accept") return DialogAnswer::kAccept;
  if (wanted == L"dismiss") return DialogAnswer::kDismiss;
  return DialogAnswer::kAsk;
}

ScriptAdding Adding() {
  constexpr wchar_t kName[] = L"WENDRA_DEV_SCRIPT_ADDED";
  return {.delayMs = Milliseconds(kName, 0), .hasEnd = DevVariable(kName) != L"never"};
}

}  // namespace

ControlSettings ReadControlSettings() {
  ControlSettings settings;
  settings.browserPortFile = DevFile(L"WENDRA_DEV_BROWSER");
  settings.browserWaitMs = Milliseconds(L"WENDRA_DEV_BROWSER_WAIT_MS", settings.browserWaitMs);
  settings.creation = Creation();
  settings.creationError = CreationError();
  settings.messageSource = Source(L"WENDRA_DEV_MESSAGE_SOURCE");
  settings.viewSource = Source(L"WENDRA_DEV_VIEW_SOURCE");
  settings.closeMs = Milliseconds(L"WENDRA_DEV_CLOSE_MS", settings.closeMs);
  settings.usesOwnContext = DevFlag(L"WENDRA_DEV_SHARED", false);
  settings.dialogs = Dialogs();
  settings.scriptAdding = Adding();
  settings.eventsFile = DevFile(L"WENDRA_DEV_EVENTS");
  settings.timingsFile = DevFile(L"WENDRA_DEV_TIMINGS");
  settings.traceFile = DevFile(L"WENDRA_DEV_TRACE");
  settings.failuresFile = DevFile(L"WENDRA_DEV_FAILURES");
  settings.apiIsUserInitiated = DevFlag(L"WENDRA_DEV_API_USER_INITIATED", true);
  settings.redirectKeepsGesture = DevFlag(L"WENDRA_DEV_REDIRECT_GESTURE", false);
  settings.fragmentRaisesStarting = DevFlag(L"WENDRA_DEV_FRAGMENT_STARTING", false);
  settings.replacedEndsLate = DevFlag(L"WENDRA_DEV_REPLACED_ENDS_LATE", false);
  settings.scriptGivesActivation = DevFlag(L"WENDRA_DEV_SCRIPT_ACTIVATION", false);
  settings.scriptsWaitForDocument = DevFlag(L"WENDRA_DEV_SCRIPTS_WAIT", true);
  return settings;
}

}  // namespace wendra
