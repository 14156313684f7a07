// The events that the browser sends about a page. The connection's thread.
#include <mutex>
#include <utility>

#include "devruntime/webview2/dialogs_win.h"
#include "devruntime/webview2/page_session_win.h"
#include "json/objects.h"

namespace wendra {

void PageSession::OnEvent(std::string_view method, Json& params) {
  if (method == "Runtime.bindingCalled") return OnBinding(params);
  if (method == "Page.screencastFrame") return OnScreencastFrame(params);
  if (method == "Page.javascriptDialogOpening") return OnDialog(params);
  if (method == "Runtime.executionContextCreated") return OnContextCreated(params);
  if (method == "Runtime.executionContextsCleared") return OnContextsCleared();
  if (method == "Inspector.targetCrashed") return OnCrash();
  if (method == "Inspector.targetReloadedAfterCrash") hasCrashed_ = false;
  std::vector<PageEvent> events;
  {
    const std::lock_guard<Lock> lock(navigationsLock_);
    if (method == "Fetch.requestPaused" && !navigations_->IsMainFrameRequest(params)) {
      return ContinueSubframe(params);
    }
    events = navigations_->Take(method, params);
  }
  for (PageEvent& event : events) Report(std::move(event));
  if (method == "Page.loadEventFired") TakePictureAfterLoad();
}

// The browser does not reply to the calls that were pending.
void PageSession::OnCrash() {
  hasCrashed_ = true;
  connection_->Abandon(sessionId_);
  Report(PageGone{.hasBrowser = true});
}

// The host does not decide what frames inside the page load.
void PageSession::ContinueSubframe(const Json& params) {
  Call("Fetch.continueRequest", MakeObject({{"requestId", TextOf(params, "requestId")}}));
}

void PageSession::OnContextCreated(const Json& params) {
  const Json& context = MemberOf(params, "context");
  const bool isMain = TextOf(MemberOf(context, "auxData"), "frameId") == targetId_;
  isMainContext_[IntegerOf(context, "id")] = isMain;
  if (!isMain || !MemberOf(MemberOf(context, "auxData"), "isDefault").boolean) return;
  const std::lock_guard<Lock> lock(navigationsLock_);
  documentContext_ = TextOf(context, "uniqueId");
}

void PageSession::OnContextsCleared() {
  isMainContext_.clear();
  const std::lock_guard<Lock> lock(navigationsLock_);
  documentContext_.clear();
}

// Messages of frames inside the page would go to objects that the stand-in does not offer.
void PageSession::OnBinding(Json& params) {
  const auto context = isMainContext_.find(IntegerOf(params, "executionContextId"));
  if (context == isMainContext_.end() || !context->second) return;
  std::string source;
  {
    const std::lock_guard<Lock> lock(navigationsLock_);
    source = navigations_->Source();
  }
  for (auto& [key, value] : params.members) {
    if (key == "payload") return Report(MessagePosted{std::move(value.text), std::move(source)});
  }
}

void PageSession::OnDialog(const Json& params) {
  AnswerDialog(settings_.dialogs, TextOf(params, "type"), TextOf(params, "message"),
               TextOf(params, "defaultPrompt"),
               [weak = weak_from_this()](bool isAccepted, const std::string& text) {
                 const auto self = weak.lock();
                 if (!self) return;
                 self->Call("Page.handleJavaScriptDialog",
                            MakeObject({{"accept", isAccepted}, {"promptText", text}}));
               });
}

void PageSession::OnScreencastFrame(Json& params) {
  Call("Page.screencastFrameAck", MakeObject({{"sessionId", MemberOf(params, "sessionId")}}));
  for (auto& [key, value] : params.members) {
    if (key == "data") return Report(PageFrame{std::move(value.text), false});
  }
}

// A page without movement sends no frame after its load, and the first frame of a new document
// sometimes gets lost. This picture certainly shows the new document.
void PageSession::TakePictureAfterLoad() {
  int resizes;
  {
    const std::lock_guard<Lock> lock(sizeLock_);
    resizes = resizes_;
  }
  Call("Page.captureScreenshot", MakeObject({{"format", "png"}, {"optimizeForSpeed", true}}),
       [weak = weak_from_this(), resizes](const Json* result) {
         const auto self = weak.lock();
         if (!self) return;
         self->ResizeAgain(resizes);
         if (result) self->Report(PageFrame{TextOf(*result, "data"), true});
       });
}

void PageSession::Report(PageEvent event) {
  std::function<void(PageEvent)> receiver;
  {
    const std::lock_guard<Lock> lock(receiversLock_);
    receiver = receivers_.onEvent;
  }
  if (receiver) receiver(std::move(event));
}

void PageSession::Report(PageFrame frame) {
  std::function<void(PageFrame)> receiver;
  {
    const std::lock_guard<Lock> lock(receiversLock_);
    receiver = receivers_.onFrame;
  }
  if (receiver) receiver(std::move(frame));
}

}  // namespace wendra
