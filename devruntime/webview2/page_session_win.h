// The browser's side of one page: its target in the browser, its calls, and its events.
//
// Any thread may call, once PageReady has been reported. Before that, and after the page or the
// browser has gone, calls do nothing. The connection's thread reports events and frames, so the
// receivers must not block.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "base/lock.h"
#include "devruntime/webview2/devtools_connection_win.h"
#include "devruntime/webview2/navigations.h"
#include "devruntime/webview2/page_event.h"
#include "devruntime/webview2/settings_win.h"
#include "json/json.h"

namespace wendra {

// A picture of the page, a PNG in base64.
struct PageFrame {
  std::string png;
  bool isAfterLoad = false;  // certainly shows the document that has just finished loading
};

class PageSession : public std::enable_shared_from_this<PageSession> {
 public:
  struct Receivers {
    std::function<void(PageEvent)> onEvent;
    std::function<void(PageFrame)> onFrame;
  };

  // Finds or makes the page. PageReady or PageGone follows.
  static std::shared_ptr<PageSession> Open(std::shared_ptr<DevToolsConnection> connection,
                                           const ControlSettings& settings, Receivers receivers);

  void Navigate(const std::string& uri);
  void Reload();
  void Stop();

  // Lets a waiting navigation continue, or ends it before its request leaves the browser.
  void Decide(const NavigationWanted& navigation, bool isAllowed);

  // `done` gets the result as JSON text, or nothing when there is no page to run the script. It
  // runs on the connection's thread; on the calling thread when the connection is gone.
  using ScriptDone = std::function<void(std::optional<std::string> json)>;
  void Execute(std::string script, ScriptDone done);

  // Adds a script that runs in each document created from here on. `done` gets its identifier, or
  // nothing.
  using ScriptAdded = std::function<void(std::optional<std::string> id)>;
  void AddScript(std::string script, ScriptAdded done);
  void RemoveScript(const std::string& id);

  // Does nothing unless both are positive.
  void Resize(int widthPx, int heightPx);

  // Makes one call of the protocol's Input domain and does not wait for its reply.
  void SendInput(std::string_view method, const Json& params);

  // Presses Tab, as `keyDown` describes it. `onLeft` is called on the connection's thread if there
  // is no further element and the focus has left the page.
  void PressTab(const Json& keyDown, std::function<void()> onLeft);

  // Moves the focus into the page: to its first element, or to its last one.
  void EnterByTab(bool isBackward);

  // `done` gets the text that is selected in the page; it is not called when there is no page.
  void ReadSelection(std::function<void(const std::string&)> done);

  // Ends the page. After that, only a report that is already being made reaches a receiver.
  void Close();

 private:
  using Step = void (PageSession::*)(const Json& result);

  PageSession(std::shared_ptr<DevToolsConnection> connection, const ControlSettings& settings,
              Receivers receivers);

  void CallBrowser(std::string_view method, const Json& params, Step next);
  void TakeTarget(const Json& targets);
  void CreateTarget(const Json& context);
  void Attach(const Json& created);
  void AttachTo(const std::string& targetId);
  void SetUp(const Json& attached);
  void EnableDomains();
  void SetUpCall(std::string_view method, const Json& params);
  void OnSetUpReply();
  void EndTarget();
  void Call(std::string_view method, const Json& params, DevToolsConnection::Reply reply = {});
  void CallAfterScripts(std::string_view method, Json params);
  void OnScriptAdded();

  void OnEvent(std::string_view method, Json& params);
  void OnCrash();
  void OnBinding(Json& params);
  void OnDialog(const Json& params);
  void OnScreencastFrame(Json& params);
  void OnContextCreated(const Json& params);
  void OnContextsCleared();
  void TakePictureAfterLoad();
  void ResizeAgain(int resizesBefore);
  void ContinueSubframe(const Json& params);
  void Report(PageEvent event);
  void Report(PageFrame frame);

  const std::shared_ptr<DevToolsConnection> connection_;
  const ControlSettings settings_;
  // Written before PageReady is reported.
  std::string targetId_;
  std::string contextId_;  // of our own browser context; "" in the default context
  std::string sessionId_;
  std::atomic<bool> isReady_ = false;
  std::atomic<bool> isClosed_ = false;
  std::atomic<bool> hasCrashed_ = false;  // false again once the page is reloaded

  Lock receiversLock_;
  Receivers receivers_;

  Lock navigationsLock_;  // guards both
  std::optional<Navigations> navigations_;
  std::string documentContext_;  // where scripts run: the top-level document's own; "" without one

  // A script goes to the page's process, a navigation to the browser's process. So a navigation
  // waits for the replies to all scripts before it, or it could overtake them.
  Lock scriptsLock_;
  int pendingScripts_ = 0;
  std::vector<std::pair<std::string, Json>> callsAfterScripts_;

  // While the browser takes a picture, it changes the page's size, and then restores the size that
  // it found. A size that is given in between would get lost.
  Lock sizeLock_;
  Json size_;        // the size given last, as parameters of the protocol
  int resizes_ = 0;  // number of sizes given

  // The connection's thread only.
  int pendingSetUpCalls_ = 0;
  std::unordered_map<std::int64_t, bool> isMainContext_;  // by context: of the top-level document?
};

}  // namespace wendra
