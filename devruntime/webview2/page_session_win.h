// The browser's side of one page: its target, its calls, and its events.
//
// Everything may be called from any thread once PageReady has been told; before it, and after the
// page or the browser is gone, calls fail quietly. Events and frames are told on the connection's
// thread, so their receivers hand them on.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "devruntime/webview2/devtools_connection_win.h"
#include "devruntime/webview2/navigations.h"
#include "devruntime/webview2/page_event.h"
#include "devruntime/webview2/settings_win.h"

namespace wendra {

// A picture of the page, a PNG in base64.
struct PageFrame {
  std::string png;
  bool afterLoad = false;  // certainly shows the document that has just finished loading
};

class PageSession : public std::enable_shared_from_this<PageSession> {
 public:
  struct Receivers {
    std::function<void(PageEvent)> onEvent;
    std::function<void(PageFrame)> onFrame;
  };

  // Finds or makes the page; PageReady or PageGone follows.
  static std::shared_ptr<PageSession> Open(std::shared_ptr<DevToolsConnection> connection,
                                           const Settings& settings, Receivers receivers);

  void Navigate(const std::string& uri);
  void Reload();
  void Stop();

  // Lets a waiting navigation go on, or ends it before anything has left.
  void Decide(const NavigationWanted& navigation, bool allow);

  // `done` gets the result as JSON text, or nothing if there is no page to run it. Connection's
  // thread, or this one when the connection is gone.
  using ScriptDone = std::function<void(std::optional<std::string> json)>;
  void Execute(std::string script, ScriptDone done);

  // For documents that are created from now on. `done` gets the identifier, or nothing.
  using ScriptAdded = std::function<void(std::optional<std::string> id)>;
  void AddScript(std::string script, ScriptAdded done);
  void RemoveScript(const std::string& id);

  // In pixels; sizes of zero are ignored.
  void Resize(int width, int height);

  // One call of the protocol's Input domain, without waiting for it.
  void SendInput(std::string_view method, const Json& params);

  // The text that is selected in the page; nothing if there is no page.
  void ReadSelection(std::function<void(const std::string&)> done);

  // Ends the page. Nothing is told from now on, except what is already on its way.
  void Close();

 private:
  using Step = void (PageSession::*)(const Json& result);

  PageSession(std::shared_ptr<DevToolsConnection> connection, const Settings& settings,
              Receivers receivers);

  void CallBrowser(std::string_view method, const Json& params, Step next);
  void TakeTarget(const Json& targets);
  void CreateTarget(const Json& context);
  void Attach(const Json& created);
  void AttachTo(const std::string& targetId);
  void SetUp(const Json& attached);
  void EnableDomains();
  void SetUpCall(std::string_view method, const Json& params);
  void SetUpAnswered();
  void EndTarget();
  void Call(std::string_view method, const Json& params, DevToolsConnection::Reply reply = {});
  void CallAfterScripts(std::string_view method, Json params);
  void ScriptAnswered();

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
  void Tell(PageEvent event);
  void Show(PageFrame frame);

  const std::shared_ptr<DevToolsConnection> connection_;
  const Settings settings_;
  std::string targetId_;   // written before PageReady
  std::string contextId_;  // likewise; empty in the default context
  std::string sessionId_;  // likewise
  std::atomic<bool> ready_ = false;
  std::atomic<bool> closed_ = false;
  std::atomic<bool> crashed_ = false;  // the page, until it is loaded anew

  std::mutex receiversMutex_;
  Receivers receivers_;

  std::mutex navigationsMutex_;
  std::optional<Navigations> navigations_;

  // A script reaches the page's process and a navigation the browser's: without care the second
  // could overtake the first.
  std::mutex scriptsMutex_;
  int unansweredScripts_ = 0;
  std::vector<std::pair<std::string, Json>> callsAfterScripts_;

  // Taking a picture, the browser changes the page's size for a moment and then restores the one
  // that it found: a new size given meanwhile would get lost.
  std::mutex sizeMutex_;
  Json size_;        // the last one given, as the browser takes it
  int resizes_ = 0;  // how many have been given

  int unansweredSetUp_ = 0;  // connection's thread only

  // Where scripts run: the top-level document's own context, "" while there is none.
  // Under navigationsMutex_.
  std::string documentContext_;

  // Connection's thread only: which contexts belong to the top-level document.
  std::unordered_map<std::int64_t, bool> contextIsMain_;
};

}  // namespace wendra
