#include "runtime/webview2/page_session_win.h"

#include <utility>

#include "runtime/webview2/dialogs_win.h"
#include "runtime/webview2/page_shim.h"

namespace wendra {
namespace {

const Json& MemberOf(const Json& object, std::string_view key) {
  static const Json kNull;
  const Json* member = object.Find(key);
  return member ? *member : kNull;
}

std::int64_t IntegerOf(const Json& object, std::string_view key) {
  return static_cast<std::int64_t>(MemberOf(object, key).number);
}

Json Fetch(const std::string& id) { return Params({{"requestId", id}}); }

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
    page->CallBrowser("Target.createBrowserContext", Params({{"disposeOnDetach", true}}),
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
                        Params({{"targetId", TextOf(target, "targetId")}}));
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
  Json params = Params({{"url", "about:blank"}});
  if (!contextId_.empty()) params.members.emplace_back("browserContextId", contextId_);
  CallBrowser("Target.createTarget", params, &PageSession::Attach);
}

void PageSession::Attach(const Json& created) { AttachTo(TextOf(created, "targetId")); }

void PageSession::AttachTo(const std::string& targetId) {
  targetId_ = targetId;
  CallBrowser("Target.attachToTarget", Params({{"targetId", targetId}, {"flatten", true}}),
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
                        settings_.fragmentRaisesStarting});
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

// All at once: the browser keeps the order, and the last reply means that all are done.
void PageSession::EnableDomains() {
  ready_ = true;
  Call("Page.enable", Json::Object());
  Call("Runtime.enable", Json::Object());
  Call("Network.enable", Params({{"maxTotalBufferSize", 0}, {"maxResourceBufferSize", 0}}));
  Json patterns = Json::Array();
  patterns.items.push_back(Params({{"urlPattern", "*"}, {"resourceType", "Document"}}));
  Call("Fetch.enable", Params({{"patterns", patterns}}));
  Call("Runtime.addBinding", Params({{"name", kBindingName}}));
  Call("Page.addScriptToEvaluateOnNewDocument", Params({{"source", kPageShim}}));
  Call("Runtime.evaluate", Params({{"expression", kPageShim}}));  // the document that is there
  // Without it the page believes itself in the background: no caret, no autofocus.
  Call("Emulation.setFocusEmulationEnabled", Params({{"enabled", true}}));
  Call("Page.startScreencast", Params({{"format", "png"}}),
       [self = shared_from_this()](const Json* result) {
         if (result) {
           self->Tell(PageReady{});
         } else {
           self->Tell(PageGone{});
         }
       });
}

void PageSession::Call(std::string_view method, const Json& params,
                       DevToolsConnection::Reply reply) {
  if (ready_) {
    connection_->Call(sessionId_, method, params, std::move(reply));
  } else if (reply) {
    reply(nullptr);
  }
}

void PageSession::Navigate(const std::string& uri) {
  Call("Page.navigate", Params({{"url", uri}}));
}

void PageSession::Reload() { Call("Page.reload", Json::Object()); }

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
  Json params = Fetch(navigation.fetchId);
  if (!allow) params.members.emplace_back("errorReason", "Aborted");
  Call(allow ? "Fetch.continueRequest" : "Fetch.failRequest", params);
}

void PageSession::Execute(std::string script, ScriptDone done) {
  Json params = Json::Object();
  params.members.reserve(4);
  params.members.emplace_back("expression", std::move(script));  // may be many megabytes
  params.members.emplace_back("returnByValue", true);
  params.members.emplace_back("silent", true);
  params.members.emplace_back("userGesture", settings_.scriptGivesActivation);
  Call("Runtime.evaluate", params, [done = std::move(done)](const Json* result) {
    if (!done) return;
    if (result) {
      done(ScriptResult(*result));
    } else {
      done(std::nullopt);
    }
  });
}

void PageSession::AddScript(std::string script, ScriptAdded done) {
  Call("Page.addScriptToEvaluateOnNewDocument", Params({{"source", std::move(script)}}),
       [done = std::move(done)](const Json* result) {
         if (!done) return;
         if (result) {
           done(TextOf(*result, "identifier"));
         } else {
           done(std::nullopt);
         }
       });
}

void PageSession::RemoveScript(const std::string& id) {
  Call("Page.removeScriptToEvaluateOnNewDocument", Params({{"identifier", id}}));
}

void PageSession::Resize(int width, int height) {
  if (width <= 0 || height <= 0) return;
  Call("Emulation.setDeviceMetricsOverride",
       Params({{"width", width}, {"height", height}, {"deviceScaleFactor", 1}, {"mobile", false}}));
}

void PageSession::SendInput(std::string_view method, const Json& params) { Call(method, params); }

void PageSession::ReadSelection(std::function<void(std::string)> done) {
  constexpr char kScript[] =
      "(() => { const e = document.activeElement;"
      " return e && typeof e.value === 'string' && typeof e.selectionStart === 'number'"
      " ? e.value.slice(e.selectionStart, e.selectionEnd) : String(getSelection()); })()";
  Call("Runtime.evaluate",
       Params({{"expression", kScript}, {"returnByValue", true}, {"silent", true}}),
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
    connection_->Call({}, "Target.closeTarget", Params({{"targetId", targetId_}}));
  } else {
    connection_->Call({}, "Target.disposeBrowserContext",
                      Params({{"browserContextId", contextId_}}));
  }
}

void PageSession::OnEvent(std::string_view method, Json& params) {
  if (method == "Runtime.bindingCalled") return OnBinding(params);
  if (method == "Page.screencastFrame") return OnScreencastFrame(params);
  if (method == "Page.javascriptDialogOpening") return OnDialog(params);
  if (method == "Runtime.executionContextCreated") return OnContextCreated(params);
  if (method == "Runtime.executionContextsCleared") return contextIsMain_.clear();
  if (method == "Inspector.targetCrashed") return Tell(PageGone{});
  std::vector<PageEvent> events;
  {
    const std::lock_guard lock(navigationsMutex_);
    if (method == "Fetch.requestPaused" && !navigations_->IsMainFrameRequest(params)) {
      return ContinueSubframe(params);
    }
    events = navigations_->Take(method, params);
  }
  for (PageEvent& event : events) Tell(std::move(event));
  if (method == "Page.loadEventFired") TakePictureAfterLoad();
}

// What a frame inside the page loads is the page's own affair.
void PageSession::ContinueSubframe(const Json& params) {
  Call("Fetch.continueRequest", Fetch(TextOf(params, "requestId")));
}

void PageSession::OnContextCreated(const Json& params) {
  const Json& context = MemberOf(params, "context");
  const bool isMain = TextOf(MemberOf(context, "auxData"), "frameId") == targetId_;
  contextIsMain_[IntegerOf(context, "id")] = isMain;
}

// Messages of frames inside the page go to objects that are not offered here.
void PageSession::OnBinding(Json& params) {
  const auto context = contextIsMain_.find(IntegerOf(params, "executionContextId"));
  if (context == contextIsMain_.end() || !context->second) return;
  std::string source;
  {
    const std::lock_guard lock(navigationsMutex_);
    source = navigations_->Source();
  }
  for (auto& [key, value] : params.members)
    if (key == "payload") return Tell(MessagePosted{std::move(value.text), std::move(source)});
}

void PageSession::OnDialog(const Json& params) {
  AnswerDialog(settings_.dialogs, TextOf(params, "type"), TextOf(params, "message"),
               TextOf(params, "defaultPrompt"),
               [weak = weak_from_this()](bool accept, const std::string& text) {
                 const auto self = weak.lock();
                 if (!self) return;
                 self->Call("Page.handleJavaScriptDialog",
                            Params({{"accept", accept}, {"promptText", text}}));
               });
}

void PageSession::OnScreencastFrame(Json& params) {
  Call("Page.screencastFrameAck", Params({{"sessionId", MemberOf(params, "sessionId")}}));
  for (auto& [key, value] : params.members)
    if (key == "data") return Show({std::move(value.text), false});
}

// A page that stays still sends no frame after its load. Tools that wait for the painted page need
// one that certainly shows it.
void PageSession::TakePictureAfterLoad() {
  if (settings_.eventsFile.empty()) return;
  Call("Page.captureScreenshot", Params({{"format", "png"}, {"optimizeForSpeed", true}}),
       [weak = weak_from_this()](const Json* result) {
         const auto self = weak.lock();
         if (self && result) self->Show({TextOf(*result, "data"), true});
       });
}

void PageSession::Tell(PageEvent event) {
  std::function<void(PageEvent)> receiver;
  {
    const std::lock_guard lock(receiversMutex_);
    receiver = receivers_.onEvent;
  }
  if (receiver) receiver(std::move(event));
}

void PageSession::Show(PageFrame frame) {
  std::function<void(PageFrame)> receiver;
  {
    const std::lock_guard lock(receiversMutex_);
    receiver = receivers_.onFrame;
  }
  if (receiver) receiver(std::move(frame));
}

}  // namespace wendra
