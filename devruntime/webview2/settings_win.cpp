#include "devruntime/webview2/settings_win.h"

#include <algorithm>

namespace wendra {
namespace {

bool Flag(const wchar_t* name, bool otherwise) {
  const std::wstring value = DevVariable(name);
  if (value.empty()) return otherwise;
  return value != L"0";
}

DWORD Milliseconds(const wchar_t* name, DWORD otherwise) {
  const unsigned long value = wcstoul(DevVariable(name).c_str(), nullptr, 10);
  return value == 0 ? otherwise : value;
}

// Scripts on the development machine name files the Unix way; Wine maps that tree to drive Z.
std::wstring FilePath(const wchar_t* name) {
  std::wstring path = DevVariable(name);
  if (path.empty() || path[0] != L'/') return path;
  std::replace(path.begin(), path.end(), L'/', L'\\');
  return L"Z:" + path;
}

CreationMode Creation() {
  if (Flag(L"WENDRA_DEV_NO_RUNTIME", false)) return CreationMode::kMissing;
  const struct {
    const wchar_t* name;
    CreationMode mode;
  } modes[] = {
      {L"missing", CreationMode::kMissing},
      {L"fail", CreationMode::kFail},
      {L"sync", CreationMode::kSync},
      {L"never", CreationMode::kNever},
      {L"controller-fail", CreationMode::kControllerFail},
      {L"no-view", CreationMode::kNoView},
  };
  const std::wstring wanted = DevVariable(L"WENDRA_DEV_CREATE");
  for (const auto& mode : modes)
    if (wanted == mode.name) return mode.mode;
  return DevVariable(L"WENDRA_DEV_BROWSER").empty() ? CreationMode::kMissing
                                                    : CreationMode::kNormal;
}

DialogAnswer Dialogs() {
  const std::wstring wanted = DevVariable(L"WENDRA_DEV_DIALOGS");
  if (wanted == L"accept") return DialogAnswer::kAccept;
  if (wanted == L"dismiss") return DialogAnswer::kDismiss;
  return DialogAnswer::kAsk;
}

}  // namespace

std::wstring DevVariable(const wchar_t* name) {
  const DWORD units = GetEnvironmentVariableW(name, nullptr, 0);  // with the terminator
  if (units == 0) return {};
  std::wstring value(units, L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), units));
  return value;
}

Settings ReadSettings() {
  Settings settings;
  settings.browserPortFile = FilePath(L"WENDRA_DEV_BROWSER");
  settings.browserWaitMs = Milliseconds(L"WENDRA_DEV_BROWSER_WAIT_MS", settings.browserWaitMs);
  settings.creation = Creation();
  settings.sharedBrowser = Flag(L"WENDRA_DEV_SHARED", false);
  settings.dialogs = Dialogs();
  settings.eventsFile = FilePath(L"WENDRA_DEV_EVENTS");
  settings.timingsFile = FilePath(L"WENDRA_DEV_TIMINGS");
  settings.traceFile = FilePath(L"WENDRA_DEV_TRACE");
  settings.failuresFile = FilePath(L"WENDRA_DEV_FAILURES");
  settings.apiIsUserInitiated = Flag(L"WENDRA_DEV_API_USER_INITIATED", true);
  settings.redirectKeepsGesture = Flag(L"WENDRA_DEV_REDIRECT_GESTURE", false);
  settings.fragmentRaisesStarting = Flag(L"WENDRA_DEV_FRAGMENT_STARTING", false);
  settings.replacedEndsLate = Flag(L"WENDRA_DEV_REPLACED_ENDS_LATE", false);
  settings.scriptGivesActivation = Flag(L"WENDRA_DEV_SCRIPT_ACTIVATION", false);
  settings.scriptsWaitForDocument = Flag(L"WENDRA_DEV_SCRIPTS_WAIT", true);
  return settings;
}

}  // namespace wendra
