// A window with the control in it, as a host makes them, for tests that need a real page.
//
// run.mjs says by environment variables where the browser and the web server are; without them
// every test that makes a control fails.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <windows.h>

#include "devruntime/webview2/more_interfaces_win.h"
#include "tests/devruntime/test_handler_win.h"
#include "win/unique.h"

namespace wendra {

using CompletedHandler = TestHandler<ICoreWebView2NavigationCompletedEventHandler, ICoreWebView2*,
                                     ICoreWebView2NavigationCompletedEventArgs*>;

inline constexpr DWORD kTestTimeoutMs = 20'000;  // only a failing test waits that long

// Runs the thread's message loop until `done`, which is asked after every message and, since not
// everything comes with a message, now and then. False when the time is over.
bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs = kTestTimeoutMs);

// Runs the message loop until everything that was posted before has been handled.
void PumpPending();

// The exported functions of the DLL that was built.
using CreateEnvironmentFunction = decltype(&CreateCoreWebView2EnvironmentWithOptions);
using GetVersionFunction = HRESULT(STDMETHODCALLTYPE*)(PCWSTR, LPWSTR*);
CreateEnvironmentFunction CreateEnvironment();
GetVersionFunction GetVersion();

// Address of a page on the test's web server; `host` may be any name that ends in ".test".
std::string Url(const std::string& pathAndQuery, const std::string& host = "127.0.0.1");

// Address of a page with this text between <body> and </body>.
std::string PageUrl(const std::string& body, const std::string& host = "127.0.0.1");

// How often the server was asked for `path`.
int RequestsFor(const std::string& path);

// A new top-level window of this thread, 640 by 480, visible.
HWND MakeTestWindow();

// Time since some moment, for durations.
std::int64_t Microseconds();

// A report of the library's, as far as it has been written; others may go on writing and deleting
// it. "" when it is not there.
std::string ReadWholeFile(const std::wstring& path);

// A variable that has another value while this lives.
class ScopedVariable {
 public:
  ScopedVariable(const wchar_t* name, const std::wstring& value);
  ~ScopedVariable();
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  const wchar_t* name_;
  std::wstring before_;
};

std::string NarrowAndFree(LPWSTR text);

struct SeenNavigation {
  UINT64 id = 0;
  std::string uri;
  bool userInitiated = false;
  bool redirected = false;
};
struct SeenWindow {
  std::string uri;
  bool userInitiated = false;
};
struct SeenCompletion {
  UINT64 id = 0;
  bool success = false;
  int error = 0;
};

// In the constructor the control is made and the handlers registered; what they see is kept.
class TestControl {
 public:
  TestControl();
  ~TestControl();
  TestControl(const TestControl&) = delete;
  TestControl& operator=(const TestControl&) = delete;

  HWND Window() const { return window_; }
  HWND PageWindow() const;  // the child that the page is painted in
  ICoreWebView2Controller& Controller() { return *controller_.Get(); }
  ICoreWebView2& View() { return *view_.Get(); }
  ICoreWebView2Environment& Environment() { return *environment_.Get(); }
  void ReleaseController() { controller_.Reset(); }

  // Navigates and waits for the end of that navigation. False if it failed.
  bool Load(const std::string& url);
  bool LoadBody(const std::string& body) { return Load(PageUrl(body)); }

  // The result of a script as JSON text.
  std::string Evaluate(const std::string& script);
  // Evaluates it again and again until it gives that text.
  bool WaitFor(const std::string& script, const std::string& json);
  // A key of the mouse goes down and up, in pixels of the page, by messages to its window.
  void Click(int x, int y, UINT downMessage = WM_LBUTTONDOWN, WPARAM keys = 0);
  // The middle of the element, by its id, clicked.
  void ClickElement(const std::string& id, UINT downMessage = WM_LBUTTONDOWN, WPARAM keys = 0);

  std::vector<std::string> messages;  // as JSON
  std::vector<std::string> sources;   // of the messages
  std::vector<SeenNavigation> navigations;
  std::vector<SeenWindow> windows;
  std::vector<SeenCompletion> completions;
  std::vector<std::string> order;  // names of all events, in the order of the handlers
  std::function<bool(const SeenNavigation&)> cancel;  // asked for every navigation, if set

 private:
  void Create();
  void Register();

  HWND window_ = nullptr;
  ComOwner<ICoreWebView2Environment> environment_;
  ComOwner<ICoreWebView2Controller> controller_;
  ComOwner<ICoreWebView2> view_;
};

}  // namespace wendra
