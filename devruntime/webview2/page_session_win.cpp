#include "devruntime/webview2/page_session_win.h"

#include <utility>

#include "devruntime/webview2/page_shim.h"

namespace wendra {
namespace {

// The result of Runtime.evaluate as the text that a host sees: exceptions, undefined and what has
// no JSON form are all `null`.
std::string ScriptResult(const Json& evaluated) {
  std::string text;
  if (!evaluated.Find("exceptionDetails")) {
    Serialize(MemberOf(MemberOf(evaluated, "result"), "value"), text);
  }
  return text.empty() ? "null" : text;
}

}  // namespace

PageSession::PageSession(std::shared_ptr<DevToolsConnection> connection, const Settings& settings,
                         Receivers receivers)
    : connection_(std::move(connection)), settings_(settings), receivers_(std::move(receivers)) {}

std::shared_ptr<PageSession> PageSession::Open(std::shared_ptr<DevToolsConnection> connection,
                                               const Settings& settings, Receivers receivers) {
  std::shared_ptr<PageSession> page(
      new PageSession(std::move(connection), settings, std::move(receivers)));
  if (settings.sharedBrowser) {
    page->CallBrowser("Target.createBrowserContext", MakeObject({{"disposeOnDetach", true}}),
                      &PageSession::CreateTarget);
  } else {
    page->CallBrowser("Target.getTargets", Json::Object(), &PageSession::TakeTarget);
  }
  return page;
}

// One step of the way to a ready page; a refusal ends the way.
void PageSession::CallBrowser(std::string_view method, const Json& params, Step next) {
  connection_->Call({}, method, params, [self = shared_from_this(), next](const Json* result) {
    if (result) {
      ((*self).*next)(*result);
    } else {
      self->Tell(PageGone{});
    }
  });
}

// The browser starts with an empty page, which becomes ours; a page that nobody is attached to has
// outlived a host that died, and goes.
void PageSession::TakeTarget(const Json& targets) {
  std::string blank;
  for (const Json& target : MemberOf(targets, "targetInfos").items) {
    if (TextOf(target, "type") != "page" || MemberOf(target, "attached").boolean) continue;
    if (blank.empty() && TextOf(target, "url") == "about:blank") {
      blank = TextOf(target, "targetId");
    } else {
      connection_->Call({}, "Target.closeTarget",
                        MakeObject({{"targetId", TextOf(target, "targetId")}}));
    }
  }
  if (blank.empty()) {
    CreateTarget(Json::Object());
  } else {
    AttachTo(blank);
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
  if (closed_) return EndTarget();
  sessionId_ = TextOf(attached, "sessionId");
  {
    const std::lock_guard lock(navigationsMutex_);
    navigations_.emplace(
        targetId_,  // a page's top-level frame has the target's identifier
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
                                     if (const auto self = weak.lock()) self->Tell(PageGone{});
                                   }});
  EnableDomains();
}

// All at once. Some are answered by the browser and some by the page's process, in no common order:
// the page is ready when every one has its answer.
void PageSession::EnableDomains() {
  ready_ = true;
  SetUpCall("Page.enable", Json::Object());
  SetUpCall("Runtime.enable", Json::Object());
  SetUpCall("Network.enable",
            MakeObject({{"maxTotalBufferSize", 0}, {"maxResourceBufferSize", 0}}));
  Json patterns = Json::Array();
  patterns.items.push_back(MakeObject({{"urlPattern", "*"}, {"resourceType", "Document"}}));
  SetUpCall("Fetch.enable", MakeObject({{"patterns", patterns}}));
  SetUpCall("Runtime.addBinding", MakeObject({{"name", kBindingName}}));
  SetUpCall("Page.addScriptToEvaluateOnNewDocument", MakeObject({{"source", kPageShim}}));
  SetUpCall("Runtime.evaluate", MakeObject({{"expression", kPageShim}}));  // the document now there
  // Without it the page believes itself in the background: no caret, no autofocus.
  SetUpCall("Emulation.setFocusEmulationEnabled", MakeObject({{"enabled", true}}));
  SetUpCall("Page.startScreencast", MakeObject({{"format", "png"}}));
}

void PageSession::SetUpCall(std::string_view method, const Json& params) {
  ++unansweredSetUp_;
  Call(method, params, [self = shared_from_this()](const Json* result) {
    if (!result) self->Tell(PageGone{});
    self->SetUpAnswered();
  });
}

void PageSession::SetUpAnswered() {
  if (--unansweredSetUp_ == 0) Tell(PageReady{});
}

void PageSession::Call(std::string_view method, const Json& params,
                       DevToolsConnection::Reply reply) {
  if (ready_) {
    connection_->Call(sessionId_, method, params, std::move(reply));
  } else if (reply) {
    reply(nullptr);
  }
}

// At once, unless scripts are still on their way.
void PageSession::CallAfterScripts(std::string_view method, Json params) {
  {
    const std::lock_guard lock(scriptsMutex_);
    if (unansweredScripts_ > 0) {
      callsAfterScripts_.emplace_back(method, std::move(params));
      return;
    }
  }
  Call(method, params);
}

void PageSession::ScriptAnswered() {
  std::vector<std::pair<std::string, Json>> calls;
  {
    const std::lock_guard lock(scriptsMutex_);
    if (--unansweredScripts_ == 0) calls.swap(callsAfterScripts_);
  }
  for (const auto& [method, params] : calls) Call(method, params);
}

void PageSession::Navigate(const std::string& uri) {
  CallAfterScripts("Page.navigate", MakeObject({{"url", uri}}));
}

void PageSession::Reload() { CallAfterScripts("Page.reload", Json::Object()); }

void PageSession::Stop() { Call("Page.stopLoading", Json::Object()); }

void PageSession::Decide(const NavigationWanted& navigation, bool allow) {
  if (!allow) {
    const std::lock_guard lock(navigationsMutex_);
    if (navigations_) navigations_->Cancel(navigation.id);
  }
  if (navigation.fetchId.empty()) {
    if (!allow) Stop();  // nothing waits for us: the best that can be done
    return;
  }
  Json params = MakeObject({{"requestId", navigation.fetchId}});
  if (!allow) params.members.emplace_back("errorReason", "Aborted");
  Call(allow ? "Fetch.continueRequest" : "Fetch.failRequest", params);
}

void PageSession::Execute(std::string script, ScriptDone done) {
  Json params = Json::Object();
  params.members.reserve(5);
  params.members.emplace_back("expression", std::move(script));  // may be many megabytes
  params.members.emplace_back("returnByValue", true);
  params.members.emplace_back("silent", true);
  params.members.emplace_back("userGesture", settings_.scriptGivesActivation);
  {
    // Chromium would hand a script that the page's process has not taken yet to the next document.
    const std::lock_guard lock(navigationsMutex_);
    if (!documentContext_.empty()) {
      params.members.emplace_back("uniqueContextId", documentContext_);
    }
  }
  if (crashed_) {  // nobody would answer
    if (done) done(std::nullopt);
    return;
  }
  Call("Runtime.evaluate", params,
       [self = shared_from_this(), done = std::move(done)](const Json* result) {
         if (!done) return;
         if (result) {
           done(ScriptResult(*result));
         } else if (self->crashed_ || !self->connection_->IsOpen()) {
           done(std::nullopt);
         } else {
           done("null");  // refused: the value has no JSON form
         }
       });
}

void PageSession::AddScript(std::string script, ScriptAdded done) {
  {
    const std::lock_guard lock(scriptsMutex_);
    ++unansweredScripts_;
  }
  Call("Page.addScriptToEvaluateOnNewDocument", MakeObject({{"source", std::move(script)}}),
       [self = shared_from_this(), done = std::move(done)](const Json* result) {
         self->ScriptAnswered();
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

void PageSession::Resize(int width, int height) {
  if (width <= 0 || height <= 0) return;
  Json size = MakeObject(
      {{"width", width}, {"height", height}, {"deviceScaleFactor", 1}, {"mobile", false}});
  {
    const std::lock_guard lock(sizeMutex_);
    size_ = size;
    ++resizes_;
  }
  Call("Emulation.setDeviceMetricsOverride", size);
}

void PageSession::ResizeAgain(int resizesBefore) {
  Json size;
  {
    const std::lock_guard lock(sizeMutex_);
    if (resizes_ == resizesBefore) return;
    size = size_;
  }
  Call("Emulation.setDeviceMetricsOverride", size);
}

void PageSession::SendInput(std::string_view method, const Json& params) { Call(method, params); }

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
  closed_ = true;
  Receivers dropped;  // outlive the lock: they may hold the last share of whoever listens
  {
    const std::lock_guard lock(receiversMutex_);
    std::swap(dropped, receivers_);
  }
  if (!ready_.exchange(false)) return;  // still on its way: SetUp will find it closed
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
