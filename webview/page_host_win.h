// The browser control in the main window: makes it, shows the server in it, carries messages out
// and scripts in, and keeps foreign links out of the window.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/log.h"
#include "base/page_scripts.h"
#include "webview/reply_gate.h"
#include "webview/webview2_win.h"
#include "win/unique.h"

namespace wendra {

// What the page has posted.
struct PageMessage {
  std::optional<std::string> source;  // address of the page; nothing when the control does not tell
  std::string origin;                 // of that page; without a source, of the one that is shown
  std::string json;                   // the message as JSON text, "" when the control gave none
};

// UI thread only; so are its callbacks, which come from the message loop.
class PageHost : public PageScripts {
 public:
  struct Callbacks {
    std::function<void(const PageMessage& message)> onMessage;
    // The controller is there, or its page is about to load: give it its bounds.
    std::function<void()> onLayoutNeeded;
    // Whether the page at an address may see what we run in it.
    std::function<bool(std::string_view address)> isTrusted;
  };

  // `server` is the address to show. Borrows `log`.
  PageHost(std::string server, Callbacks callbacks, Log& log);
  ~PageHost() override;

  // Starts making the control in `window`, which must outlive it or call Close before. Without a
  // browser runtime nothing more happens: the window stays empty.
  void Create(HWND window);

  // Takes the control down; later calls do nothing. Call it before the window goes.
  void Close();

  void SetBounds(const RECT& bounds);  // pixels of the window's client area
  void Reload();

  // Both wait while a navigation is under way, see ReplyGate. RunFor never runs a script in a page
  // that is not trusted either; Run takes any page that is.
  void RunFor(std::string_view origin, std::string script) override;
  void Run(std::string_view script);

  // kReplyDeadlineTimer has fired: drops what has waited for too long.
  void DropLateReplies();

 private:
  void OnEnvironmentCreated(ICoreWebView2Environment* environment);
  void SetUp(ICoreWebView2Controller* controller);
  void AddHandlers();
  void OnMessage(ICoreWebView2WebMessageReceivedEventArgs* args);
  void OnNewWindow(ICoreWebView2NewWindowRequestedEventArgs* args);
  void OnNavigationStarting(ICoreWebView2NavigationStartingEventArgs* args);
  void OnContentLoading(ICoreWebView2ContentLoadingEventArgs* args);
  void OnNavigationCompleted(ICoreWebView2NavigationCompletedEventArgs* args);
  bool MustStayOutside(ICoreWebView2NavigationStartingEventArgs* args, const std::string& target);
  void OpenInBrowser(const wchar_t* address);
  std::string ShownAddress() const;
  ShownDocument Shown() const;
  void Offer(PageScript script);
  void Execute(const std::string& script);
  void ExecuteAll(std::vector<std::string> scripts);
  void SetDeadlineTimer();

  const std::string server_;
  const std::string namedServer_;  // as the control names it in the addresses it reports
  const Callbacks callbacks_;
  Log& log_;
  // Handed to the handlers of the creation, which the control may keep longer than we live. Null
  // as soon as there is nobody to call.
  const std::shared_ptr<PageHost*> self_ = std::make_shared<PageHost*>(this);
  HWND window_ = nullptr;
  ReplyGate gate_;
  bool showsErrorPage_ = false;  // the control's own, under the address that could not be loaded
  bool hasDeadlineTimer_ = false;
  ComOwner<ICoreWebView2Controller> controller_;
  ComOwner<ICoreWebView2> webView_;
};

}  // namespace wendra
