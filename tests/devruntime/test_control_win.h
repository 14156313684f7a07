// A window with the control, as a host makes them, for tests that need a real page.
//
// run.mjs sets environment variables with the places of the browser and the web server. Without
// them each test that makes a control fails.
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

inline constexpr DWORD kTestTimeoutMs = 20'000;  // only a failing test waits so long

// Runs the thread's message loop until `done` gives true. `done` is called after each message and,
// as some conditions change without a message, every few milliseconds. False: the time is over.
bool PumpUntil(const std::function<bool()>& done, DWORD timeoutMs = kTestTimeoutMs);

// Handles all messages that are in the queue, also those that come meanwhile.
void PumpPending();

// The exported functions of the DLL that was built.
using CreateEnvironmentFunction = decltype(&CreateCoreWebView2EnvironmentWithOptions);
using GetVersionFunction = HRESULT(STDMETHODCALLTYPE*)(PCWSTR, LPWSTR*);
CreateEnvironmentFunction CreateEnvironment();
GetVersionFunction GetVersion();

// Address of a page on the tests' web server. `host` may also be any name that ends in ".test".
std::string Url(const std::string& pathAndQuery, const std::string& host = "127.0.0.1");

// Address of a page with this text between <body> and </body>.
std::string PageUrl(const std::string& body, const std::string& host = "127.0.0.1");

// How many requests for `path` the server has got.
int RequestsFor(const std::string& path);

// A new top-level window of this thread, 640 by 480, visible.
HWND MakeTestWindow();

// The microseconds since some fixed moment, to measure durations.
std::int64_t Microseconds();

// A file that the DLL writes, as far as it has been written. Does not prevent other processes from
// writing or deleting the file. "" when there is no file.
std::string ReadWholeFile(const std::wstring& path);

// Sets an environment variable, and restores its old value in the destructor.
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

// The constructor makes the control and registers handlers, which record what they get.
class TestControl {
 public:
  TestControl();
  ~TestControl();
  TestControl(const TestControl&) = delete;
  TestControl& operator=(const TestControl&) = delete;

  HWND Window() const { return window_; }
  HWND PageWindow() const;  // the child window in which the page is painted
  ICoreWebView2Controller& Controller() { return *controller_.Get(); }
  ICoreWebView2& View() { return *view_.Get(); }
  ICoreWebView2Environment& Environment() { return *environment_.Get(); }
  void ReleaseController() { controller_.Reset(); }

  // Navigates and waits for the end of that navigation. False if it failed.
  bool Load(const std::string& url);
  bool LoadBody(const std::string& body) { return Load(PageUrl(body)); }

  // The result of a script as JSON text.
  std::string Evaluate(const std::string& script);
  // Evaluates the script again and again until it gives that text. False: the time is over.
  bool WaitFor(const std::string& script, const std::string& json);
  // Posts mouse messages to the page's window: a button goes down and up at a place in the page's
  // pixels.
  void Click(int x, int y, UINT downMessage = WM_LBUTTONDOWN, WPARAM keys = 0);
  // Clicks into the middle of the element with that id.
  void ClickElement(const std::string& id, UINT downMessage = WM_LBUTTONDOWN, WPARAM keys = 0);

  std::vector<std::string> messages;  // as JSON
  std::vector<std::string> sources;   // of the messages
  std::vector<SeenNavigation> navigations;
  std::vector<SeenWindow> windows;
  std::vector<SeenCompletion> completions;
  std::vector<std::string> order;  // the names of all events, in the order of the handlers
  std::function<bool(const SeenNavigation&)> cancel;  // if set: true cancels the navigation

 private:
  void Create();
  void Register();

  HWND window_ = nullptr;
  ComOwner<ICoreWebView2Environment> environment_;
  ComOwner<ICoreWebView2Controller> controller_;
  ComOwner<ICoreWebView2> view_;
};

}  // namespace wendra
