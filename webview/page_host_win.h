// Owns the browser control in the main window: shows the server, passes on the page's messages,
// runs scripts in the page, and opens links to other hosts in the default browser.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/log.h"
#include "base/page_scripts.h"
#include "webview/navigation.h"
#include "webview/reply_gate.h"
#include "webview/webview2_events_win.h"
#include "win/unique.h"

namespace wendra {

// One message that a page has posted.
struct PageMessage {
  std::optional<std::string> source;  // the page's address; nothing if the control does not tell it
  std::string origin;                 // of `source`; without one, of the document in the window
  std::string json;                   // the message as JSON text; "" if the control gives none
};

// UI thread only. Calls its callbacks on the UI thread.
class PageHost : public PageScripts {
 public:
  struct Callbacks {
    std::function<void(const PageMessage& message)> onMessage;
    // The control has been made, or its page is about to load: the receiver calls SetBounds.
    std::function<void()> onLayoutNeeded;
    // Whether the host may run scripts in the page at this address.
    std::function<bool(std::string_view address)> isTrusted;
  };

  // `server` is the address to show. Borrows `log`.
  PageHost(std::string server, Callbacks callbacks, Log& log);
  ~PageHost() override;

  // Starts to make the control in `window`; call Close before the window is destroyed. Without a
  // browser runtime the window stays empty.
  void Create(HWND window);

  // Closes the control. Later calls of the functions below do nothing.
  void Close();

  void SetBounds(const RECT& bounds);  // pixels of the window's client area
  void Reload();

  // Call on WM_MOVE and WM_MOVING: the control moves the lists and pickers that the page has open.
  void OnWindowMoved();

  // Call when the window is deactivated or minimised, and when it gets the focus. A page that had
  // the keyboard gets it back: Windows gives the focus to the window itself.
  void OnWindowLeft() { mustGetFocus_ = mustGetFocus_ || hasFocus_; }
  void OnWindowFocused();

  // Run a script in the document in the window if it is trusted, RunFor only if its origin is also
  // `origin`; otherwise drop it. While a navigation is under way the script waits; see ReplyGate.
  void RunFor(std::string_view origin, std::string script) override;
  void Run(std::string_view script);

  // Call when kReplyDeadlineTimer fires: drops the scripts that have waited too long.
  void DropLateReplies();

  // Call when kFirstNavigationTimer fires, or earlier: shows the server, if that has not begun.
  void NavigateToServer();

  // Call when kOpenInBrowserMessage comes: opens the addresses that the page has asked for.
  void OpenAddresses();

 private:
  void OnEnvironmentCreated(ICoreWebView2Environment* environment);
  void SetUp(ICoreWebView2Controller* controller);
  void AddHostObject();
  void AddHandlers();
  void AddFocusHandlers();
  void OnMessage(ICoreWebView2WebMessageReceivedEventArgs* args);
  void OnNewWindow(ICoreWebView2NewWindowRequestedEventArgs* args);
  void OnNavigationStarting(ICoreWebView2NavigationStartingEventArgs* args);
  void OnContentLoading(ICoreWebView2ContentLoadingEventArgs* args);
  void OnNavigationCompleted(ICoreWebView2NavigationCompletedEventArgs* args);
  void OnProcessFailed(ICoreWebView2ProcessFailedEventArgs* args);
  void OpenInBrowser(std::wstring address);
  std::string ShownAddress() const;
  ShownDocument Shown() const;
  void Offer(PageScript script);
  void Execute(const std::string& script);
  void ExecuteAll(std::vector<std::string> scripts);
  void SetDeadlineTimer();

  const std::string server_;
  const Callbacks callbacks_;
  Log& log_;
  // The handlers of the creation share this pointer, because the control may keep them longer than
  // this object lives. The destructor sets it to null.
  const std::shared_ptr<PageHost*> self_ = std::make_shared<PageHost*>(this);
  HWND window_ = nullptr;
  ReplyGate gate_;
  NavigationRule rule_;
  bool hasFocus_ = false;      // the page has the keyboard
  bool mustGetFocus_ = false;  // it had it when the user left the window, and has not got it back
  bool hasNavigated_ = false;  // to the server
  std::deque<std::wstring> toBeOpened_;  // in the default browser, in order
  bool isOpening_ = false;               // one of them
  bool showsErrorPage_ = false;  // the control's own page, under the address that did not load
  bool hasDeadlineTimer_ = false;
  ComOwner<ICoreWebView2Controller> controller_;
  ComOwner<ICoreWebView2> webView_;
};

}  // namespace wendra
