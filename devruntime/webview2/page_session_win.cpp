#include "devruntime/webview2/page_session_win.h"

#include <mutex>
#include <utility>

#include "devruntime/webview2/page_shim.h"
#include "json/objects.h"

namespace wendra {
namespace {

// The result of Runtime.evaluate as the host gets it. An exception, undefined, and a value that has
// no JSON form all give "null".
std::string ScriptResult(const Json& evaluated) {
  if (evaluated.Find("exceptionDetails")) return "null";
  return ToText(MemberOf(MemberOf(evaluated, "result"), "value"));
}

}  // namespace

PageSession::PageSession(std::shared_ptr<DevToolsConnection> connection,
                         const ControlSettings& settings, Receivers receivers)
    : connection_(std::move(connection)), settings_(settings), receivers_(std::move(receivers)) {}

std::shared_ptr<PageSession> PageSession::Open(std::shared_ptr<DevToolsConnection> connection,
                                               const ControlSettings& settings,
                                               Receivers receivers) {
  std::shared_ptr<PageSession> page(
      new PageSession(std::move(connection), settings, std::move(receivers)));
  if (settings.usesOwnContext) {
    page->CallBrowser("Target.createBrowserContext", MakeObject({{"disposeOnDetach", true}}),
                      &PageSession::CreateTarget);
  } else {
    page->CallBrowser("Target.getTargets", Json::Object(), &PageSession::TakeTarget);
  }
  return page;
}

// One step towards a ready page. When the browser refuses it, the page is gone.
void PageSession::CallBrowser(std::string_view method, const Json& params, Step next) {
  connection_->Call({}, method, params, [self = shared_from_this(), next](const Json* result) {
    if (result) {
      ((*self).*next)(*result);
    } else {
      self->Report(PageGone{});
    }
  });
}

// The browser starts with an empty page, which becomes ours. Any other page that has no host
// attached belonged to a host that has died; it is closed.
void PageSession::TakeTarget(const Json& targets) {
  std::string emptyTargetId;
  for (const Json& target : MemberOf(targets, "targetInfos").items) {
    if (TextOf(target, "type") != "page" || MemberOf(target, "attached").boolean) continue;
    if (emptyTargetId.empty() && TextOf(target, "url") == "about:blank") {
      emptyTargetId = TextOf(target, "targetId");
    } else {
      connection_->Call({}, "Target.closeTarget",
                        MakeObject({{"targetId", TextOf(target, "targetId")}}));
    }
  }
  if (emptyTargetId.empty()) {
    CreateTarget(Json::Object());
  } else {
    AttachTo(emptyTargetId);
  }
}

void PageSession::CreateTarget(const Json& context) {
  contextId_ = TextOf(context, "browserContextId");
  Json params = MakeObject({{"url", "about:blank"}});
  if (!contextId_.empty()) params.members.emplace_back("browserContextId", contextId_);
  CallBrowser("Target.createTarget", params, &PageSession::Attach);
}

void PageSession::Attach(const Json& created) { AttachTo(TextOf(created, "targetId")); }

void PageSession::AttachTo(const std::string& targetId) {
  targetId_ = targetId;
  CallBrowser("Target.attachToTarget", MakeObject({{"targetId", targetId}, {"flatten", true}}),
              &PageSession::SetUp);
}

void PageSession::SetUp(const Json& attached) {
  if (isClosed_) return EndTarget();
  sessionId_ = TextOf(attached, "sessionId");
  {
    const std::lock_guard<Lock> lock(navigationsLock_);
    navigations_.emplace(
        targetId_,  // a page's top-level frame has the id of the target
        NavigationRules{settings_.apiIsUserInitiated, settings_.redirectKeepsGesture,
                        settings_.fragmentRaisesStarting, settings_.replacedEndsLate});
  }
  const std::weak_ptr<PageSession> weak = shared_from_this();
  connection_->Listen(sessionId_, {[weak](std::string_view method, Json& params) {
                                     if (const auto self = weak.lock()) {
                                       self->OnEvent(method, params);
                                     }
                                   },
                                   [weak] {
                                     if (const auto self = weak.lock()) self->Report(PageGone{});
                                   }});
  EnableDomains();
}

// All calls at once. The browser replies to some and the page's process to others, in no common
// order, so the page is ready when all replies have come.
void PageSession::EnableDomains() {
  isReady_ = true;
  SetUpCall("Page.enable", Json::Object());
  SetUpCall("Runtime.enable", Json::Object());
  SetUpCall("Network.enable",
            MakeObject({{"maxTotalBufferSize", 0}, {"maxResourceBufferSize", 0}}));
  Json patterns = Json::Array();
  patterns.items.push_back(MakeObject({{"urlPattern", "*"}, {"resourceType", "Document"}}));
  SetUpCall("Fetch.enable", MakeObject({{"patterns", patterns}}));
  SetUpCall("Runtime.addBinding", MakeObject({{"name", kBindingName}}));
  SetUpCall("Page.addScriptToEvaluateOnNewDocument", MakeObject({{"source", kPageShim}}));
  SetUpCall("Runtime.evaluate", MakeObject({{"expression", kPageShim}}));  // the present document
  // Without this the page counts as a background page: no caret, no autofocus.
  SetUpCall("Emulation.setFocusEmulationEnabled", MakeObject({{"enabled", true}}));
  SetUpCall("Page.startScreencast", MakeObject({{"format", "png"}}));
}

void PageSession::SetUpCall(std::string_view method, const Json& params) {
  ++pendingSetUpCalls_;
  Call(method, params, [self = shared_from_this()](const Json* result) {
    if (!result) self->Report(PageGone{});
    self->OnSetUpReply();
  });
}

void PageSession::OnSetUpReply() {
  if (--pendingSetUpCalls_ == 0) Report(PageReady{});
}

void PageSession::Call(std::string_view method, const Json& params,
                       DevToolsConnection::Reply reply) {
  if (isReady_) {
    connection_->Call(sessionId_, method, params, std::move(reply));
  } else if (reply) {
    reply(nullptr);
  }
}

// Calls at once, unless scripts are still being added.
void PageSession::CallAfterScripts(std::string_view method, Json params) {
  {
    const std::lock_guard<Lock> lock(scriptsLock_);
    if (pendingScripts_ > 0) {
      callsAfterScripts_.emplace_back(method, std::move(params));
      return;
    }
  }
  Call(method, params);
}

void PageSession::OnScriptAdded() {
  std::vector<std::pair<std::string, Json>> calls;
  {
    const std::lock_guard<Lock> lock(scriptsLock_);
    if (--pendingScripts_ == 0) calls.swap(callsAfterScripts_);
  }
  for (const auto& [method, params] : calls) Call(method, params);
}

void PageSession::Navigate(const std::string& uri) {
  CallAfterScripts("Page.navigate", MakeObject({{"url", uri}}));
}

void PageSession::Reload() { CallAfterScripts("Page.reload", Json::Object()); }

void PageSession::Stop() { Call("Page.stopLoading", Json::Object()); }

void PageSession::Decide(const NavigationWanted& navigation, bool isAllowed) {
  if (!isAllowed) {
    const std::lock_guard<Lock> lock(navigationsLock_);
    if (navigations_) navigations_->Cancel(navigation.id);
  }
  if (navigation.fetchId.empty()) {
    if (!isAllowed) Stop();  // the navigation does not wait for us
    return;
  }
  Json params = MakeObject({{"requestId", navigation.fetchId}});
  if (!isAllowed) params.members.emplace_back("errorReason", "Aborted");
  Call(isAllowed ? "Fetch.continueRequest" : "Fetch.failRequest", params);
}

void PageSession::Execute(std::string script, ScriptDone done) {
  Json params = Json::Object();
  params.members.reserve(5);
  params.members.emplace_back("expression", std::move(script));  // may be many megabytes
  params.members.emplace_back("returnByValue", true);
  params.members.emplace_back("silent", true);
  params.members.emplace_back("userGesture", settings_.scriptGivesActivation);
  {
    // Without a context Chromium may run the script in the next document.
    const std::lock_guard<Lock> lock(navigationsLock_);
    if (!documentContext_.empty()) {
      params.members.emplace_back("uniqueContextId", documentContext_);
    }
  }
  if (hasCrashed_) {  // no reply would come
    if (done) done(std::nullopt);
    return;
  }
  Call("Runtime.evaluate", params,
       [self = shared_from_this(), done = std::move(done)](const Json* result) {
         if (!done) return;
         if (result) {
           done(ScriptResult(*result));
         } else if (self->hasCrashed_ || !self->connection_->IsOpen()) {
           done(std::nullopt);
         } else {
           done("null");  // the browser has refused a value that has no JSON form
         }
       });
}

void PageSession::AddScript(std::string script, ScriptAdded done) {
  {
    const std::lock_guard<Lock> lock(scriptsLock_);
    ++pendingScripts_;
  }
  Call("Page.addScriptToEvaluateOnNewDocument", MakeObject({{"source", std::move(script)}}),
       [self = shared_from_this(), done = std::move(done)](const Json* result) {
         self->OnScriptAdded();
         if (!done) return;
         if (result) {
           done(TextOf(*result, "identifier"));
         } else {
           done(std::nullopt);
         }
       });
}

void PageSession::RemoveScript(const std::string& id) {
  Call("Page.removeScriptToEvaluateOnNewDocument", MakeObject({{"identifier", id}}));
}

void PageSession::Resize(int widthPx, int heightPx) {
  if (widthPx <= 0 || heightPx <= 0) return;
  Json size = MakeObject(
      {{"width", widthPx}, {"height", heightPx}, {"deviceScaleFactor", 1}, {"mobile", false}});
  {
    const std::lock_guard<Lock> lock(sizeLock_);
    size_ = size;
    ++resizes_;
  }
  Call("Emulation.setDeviceMetricsOverride", size);
}

void PageSession::ResizeAgain(int resizesBefore) {
  Json size;
  {
    const std::lock_guard<Lock> lock(sizeLock_);
    if (resizes_ == resizesBefore) return;
    size = size_;
  }
  Call("Emulation.setDeviceMetricsOverride", size);
}

void PageSession::SendInput(std::string_view method, const Json& params) { Call(method, params); }

void PageSession::PressTab(const Json& keyDown, std::function<void()> onLeft) {
  const auto look = [onLeft = std::move(onLeft)](const Json* answer) {
    if (!answer) return;
    const Json& value = MemberOf(MemberOf(*answer, "result"), "value");
    if (value.kind == kJsonBool && !value.boolean) onLeft();
  };
  Call("Input.dispatchKeyEvent", keyDown, [weak = weak_from_this(), look](const Json* result) {
    const auto self = weak.lock();
    if (!self || !result) return;
    self->Call("Runtime.evaluate",
               MakeObject({{"expression", "document.hasFocus()"}, {"returnByValue", true}}), look);
  });
}

void PageSession::EnterByTab(bool isBackward) {
  constexpr int kShift = 8;  // the protocol's number
  SendInput("Input.dispatchKeyEvent", MakeObject({{"type", "rawKeyDown"},
                                                  {"key", "Tab"},
                                                  {"code", "Tab"},
                                                  {"windowsVirtualKeyCode", VK_TAB},
                                                  {"modifiers", isBackward ? kShift : 0}}));
}

void PageSession::ReadSelection(std::function<void(const std::string&)> done) {
  constexpr char kScript[] =
      "(() => { const e = document.activeElement;"
      " return e && typeof e.value === 'string' && typeof e.selectionStart === 'number'"
      " ? e.value.slice(e.selectionStart, e.selectionEnd) : String(getSelection()); })()";
  Call("Runtime.evaluate",
       MakeObject({{"expression", kScript}, {"returnByValue", true}, {"silent", true}}),
       [done = std::move(done)](const Json* result) {
         if (result) done(TextOf(MemberOf(*result, "result"), "value"));
       });
}

void PageSession::Close() {
  isClosed_ = true;
  Receivers dropped;  // destroyed without the lock: they may hold the last share of an object
  {
    const std::lock_guard<Lock> lock(receiversLock_);
    std::swap(dropped, receivers_);
  }
  if (!isReady_.exchange(false)) return;  // SetUp will find the page closed
  connection_->StopListening(sessionId_);
  EndTarget();
}

void PageSession::EndTarget() {
  if (contextId_.empty()) {
    connection_->Call({}, "Target.closeTarget", MakeObject({{"targetId", targetId_}}));
  } else {
    connection_->Call({}, "Target.disposeBrowserContext",
                      MakeObject({{"browserContextId", contextId_}}));
  }
}

}  // namespace wendra
