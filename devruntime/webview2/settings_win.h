// The settings of the stand-in for WebView2. docs/runtime-webview2.md lists the environment
// variables that hold them.
#pragma once

#include <string>

#include <windows.h>

namespace wendra {

// What happens when the program creates the environment and the controller.
enum class CreationMode {
  kNormal,
  kMissing,         // as without an installed runtime: the call fails, no handler is invoked
  kRefuse,          // the call fails with `creationError`, no handler is invoked
  kFail,            // the environment handler gets `creationError` and null
  kSync,            // the environment handler is invoked before the call returns
  kNever,           // the call succeeds, and the environment handler is never invoked
  kControllerFail,  // the controller handler gets `creationError` and null
  kAbort,           // the controller handler gets E_ABORT inside the parent's DestroyWindow
  kNoView,          // the controller has no view: get_CoreWebView2 fails
  kTwice,           // the controller handler is invoked twice, with the same controller
};

// What get_Source gives.
enum class SourceMode { kAddress, kFails, kNull, kEmpty };

// How alert, confirm, prompt and beforeunload are answered; kAsk shows a message box.
enum class DialogAnswer { kAsk, kAccept, kDismiss };

// When a document-creation script takes effect, which is also when its handler is called.
struct ScriptAdding {
  DWORD delayMs = 0;
  bool hasEnd = true;  // false: never
};

struct ControlSettings {
  std::wstring browserPortFile;  // Chromium's DevToolsActivePort; may not exist yet
  DWORD browserWaitMs = 30'000;  // for that file to appear
  CreationMode creation = CreationMode::kNormal;
  HRESULT creationError = E_FAIL;
  SourceMode messageSource = SourceMode::kAddress;  // of the arguments of a message
  SourceMode viewSource = SourceMode::kAddress;     // of the control
  bool usesOwnContext = false;  // a browser context of our own; false: the default context
  DWORD closeMs = 0;            // how long Close dispatches messages
  DialogAnswer dialogs = DialogAnswer::kAsk;
  ScriptAdding scriptAdding;
  // Files to write; "" for none.
  std::wstring eventsFile;
  std::wstring timingsFile;
  std::wstring traceFile;
  // The plan of the calls that fail; "" for none.
  std::wstring failuresFile;

  // For behaviour that was not compared with the real control.
  bool apiIsUserInitiated = true;       // IsUserInitiated of Navigate and Reload
  bool redirectKeepsGesture = false;    // IsUserInitiated of a redirect of a clicked link
  bool fragmentRaisesStarting = false;  // NavigationStarting for a change of the fragment
  bool replacedEndsLate = false;        // see NavigationRules
  bool scriptGivesActivation = false;   // ExecuteScript counts as a user gesture
  bool scriptsWaitForDocument = true;   // ExecuteScript waits for the document that is loading
};

// Reads the environment at each call. Any thread.
ControlSettings ReadControlSettings();

}  // namespace wendra
