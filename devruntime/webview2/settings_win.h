// What the development runtime is told by environment variables, all with the prefix WENDRA_DEV_.
// docs/runtime-webview2.md lists them for users; the names are written once, in settings_win.cpp.
#pragma once

#include <string>

#include <windows.h>

namespace wendra {

// How the creation of the environment and the controller is to go.
enum class CreationMode {
  kNormal,
  kMissing,         // no runtime installed: the call fails and the handler is never invoked
  kFail,            // the handler is invoked with a failure and null
  kSync,            // the handler is invoked before the call returns
  kNever,           // the call succeeds and the handler is never invoked
  kControllerFail,  // the environment comes, the controller fails
  kNoView,          // the controller comes and has no view to give
};

// What becomes of alert, confirm, prompt and beforeunload.
enum class DialogAnswer { kAsk, kAccept, kDismiss };

struct Settings {
  std::wstring browserPortFile;  // Chromium's DevToolsActivePort; may not exist yet
  DWORD browserWaitMs = 30'000;  // how long it may take to appear
  CreationMode creation = CreationMode::kNormal;
  bool sharedBrowser = false;  // a browser context of our own instead of the default one
  DialogAnswer dialogs = DialogAnswer::kAsk;
  std::wstring eventsFile;    // empty: none
  std::wstring timingsFile;   // empty: none
  std::wstring traceFile;     // empty: none
  std::wstring failuresFile;  // which calls of the program are to fail; empty: none

  // Not checked against the real control, therefore switchable.
  bool apiIsUserInitiated = true;       // IsUserInitiated of Navigate and Reload
  bool redirectKeepsGesture = false;    // IsUserInitiated of a redirect of a clicked link
  bool fragmentRaisesStarting = false;  // NavigationStarting for a change of the fragment
  bool replacedEndsLate = false;        // see NavigationRules
  bool scriptGivesActivation = false;   // ExecuteScript counts as a user gesture
  bool scriptsWaitForDocument = true;   // ExecuteScript waits for the document that is on its way
};

// Reads the environment anew. Any thread.
Settings ReadSettings();

// The variable's value, of any length; missing gives "".
std::wstring DevVariable(const wchar_t* name);

}  // namespace wendra
