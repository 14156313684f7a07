// What the browser reports about a page. Connection's thread.
#include "devruntime/webview2/page_session_win.h"

#include <utility>

#include "devruntime/webview2/dialogs_win.h"

namespace wendra {

void PageSession::OnEvent(std::string_view method, Json& params) {
  if (method == "Runtime.bindingCalled") return OnBinding(params);
  if (method == "Page.screencastFrame") return OnScreencastFrame(params);
  if (method == "Page.javascriptDialogOpening") return OnDialog(params);
  if (method == "Runtime.executionContextCreated") return OnContextCreated(params);
  if (method == "Runtime.executionContextsCleared") return OnContextsCleared();
  if (method == "Inspector.targetCrashed") return OnCrash();
  if (method == "Inspector.targetReloadedAfterCrash") crashed_ = false;
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

// The browser leaves the calls that were under way without an answer.
void PageSession::OnCrash() {
  crashed_ = true;
  connection_->Abandon(sessionId_);
  Tell(PageGone{});
}

// What a frame inside the page loads is the page's own affair.
void PageSession::ContinueSubframe(const Json& params) {
  Call("Fetch.continueRequest", MakeObject({{"requestId", TextOf(params, "requestId")}}));
}

void PageSession::OnContextCreated(const Json& params) {
  const Json& context = MemberOf(params, "context");
  const bool isMain = TextOf(MemberOf(context, "auxData"), "frameId") == targetId_;
  contextIsMain_[IntegerOf(context, "id")] = isMain;
  if (!isMain || !MemberOf(MemberOf(context, "auxData"), "isDefault").boolean) return;
  const std::lock_guard lock(navigationsMutex_);
  documentContext_ = TextOf(context, "uniqueId");
}

void PageSession::OnContextsCleared() {
  contextIsMain_.clear();
  const std::lock_guard lock(navigationsMutex_);
  documentContext_.clear();
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
                            MakeObject({{"accept", accept}, {"promptText", text}}));
               });
}

void PageSession::OnScreencastFrame(Json& params) {
  Call("Page.screencastFrameAck", MakeObject({{"sessionId", MemberOf(params, "sessionId")}}));
  for (auto& [key, value] : params.members)
    if (key == "data") return Show({std::move(value.text), false});
}

// A page that stays still sends no frame after its load, and seldom none at all: the first picture
// of a new document can get lost on its way. This one certainly shows it.
void PageSession::TakePictureAfterLoad() {
  int resizes;
  {
    const std::lock_guard lock(sizeMutex_);
    resizes = resizes_;
  }
  Call("Page.captureScreenshot", MakeObject({{"format", "png"}, {"optimizeForSpeed", true}}),
       [weak = weak_from_this(), resizes](const Json* result) {
         const auto self = weak.lock();
         if (!self) return;
         self->ResizeAgain(resizes);
         if (result) self->Show({TextOf(*result, "data"), true});
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
