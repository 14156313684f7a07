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
#include "webview/webview2_win.h"
#include "win/unique.h"

namespace wendra {

// UI thread only; so are its callbacks, which come from the message loop.
class PageHost : public PageScripts {
 public:
  struct Callbacks {
    // One web message as JSON text (UTF-8), "" when the control gave none; `source` is the address
    // of the page that posted it, or nothing when the control does not tell.
    std::function<void(std::optional<std::string> source, std::string_view json)> onMessage;
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

  // Scripts carry replies: a page that is not trusted never gets one. While a navigation to such a
  // page is under way nobody knows which document a script would meet, so it waits for the outcome.
  void Run(std::string_view script) override;

 private:
  void OnEnvironmentCreated(ICoreWebView2Environment* environment);
  void SetUp(ICoreWebView2Controller* controller);
  void AddHandlers();
  void OnMessage(ICoreWebView2WebMessageReceivedEventArgs* args);
  void OnNewWindow(ICoreWebView2NewWindowRequestedEventArgs* args);
  void OnNavigationStarting(ICoreWebView2NavigationStartingEventArgs* args);
  void OnNavigationCompleted(ICoreWebView2NavigationCompletedEventArgs* args);
  bool MustStayOutside(ICoreWebView2NavigationStartingEventArgs* args, const std::string& target);
  void OpenInBrowser(const wchar_t* address);
  bool ShowsTrustedPage();
  void RunHeldScripts();

  const std::string server_;
  const std::string namedServer_;  // as the control names it in the addresses it reports
  const Callbacks callbacks_;
  Log& log_;
  // Handed to the handlers of the creation, which the control may keep longer than we live. Null
  // as soon as there is nobody to call.
  const std::shared_ptr<PageHost*> self_ = std::make_shared<PageHost*>(this);
  HWND window_ = nullptr;
  std::optional<UINT64> foreignNavigation_;  // under way to a page that is not trusted
  std::vector<std::string> heldScripts_;     // until its outcome is known
  ComOwner<ICoreWebView2Controller> controller_;
  ComOwner<ICoreWebView2> webView_;
};

}  // namespace wendra
