#include "devruntime/webview2/controller_win.h"

#include <utility>

#include "devruntime/base/event_file_win.h"
#include "devruntime/webview2/event_args_win.h"
#include "json/objects.h"

#include <commctrl.h>

namespace wendra {

// Waits until the controller has its window and its page, and then invokes the host's handler. UI
// thread.
class Controller::Creation {
 public:
  Creation(ComRef<Controller> controller, ComRef<CreatedHandler> handler)
      : controller_(std::move(controller)), handler_(std::move(handler)) {}

  // A window that cannot be made has lost its parent.
  void OnWindowOpened(bool isOpen) { OnPartDone(isOpen ? S_OK : E_ABORT); }
  void OnPageOpened(bool isOpen) { OnPartDone(isOpen ? S_OK : E_FAIL); }

 private:
  void OnPartDone(HRESULT result) {
    if (SUCCEEDED(result_)) result_ = result;
    if (--missingParts_ > 0) return;
    const ComRef<Controller> controller = std::move(controller_);
    const ComRef<CreatedHandler> handler = std::move(handler_);
    // The parent may have been destroyed while the page was being opened.
    if (SUCCEEDED(result_) && !controller->HasParent()) result_ = E_ABORT;
    if (FAILED(result_)) controller->ShutDown();
    const int calls = controller->isReportedTwice_ ? 2 : 1;
    for (int call = 0; call < calls; ++call) {
      handler->Invoke(result_, SUCCEEDED(result_) ? controller.Get() : nullptr);
    }
  }

  ComRef<Controller> controller_;
  ComRef<CreatedHandler> handler_;
  HRESULT result_ = S_OK;
  int missingParts_ = 2;
};

namespace {

using Handler = ICoreWebView2CreateCoreWebView2ControllerCompletedHandler;

// Invokes the handler when the window has handled its destruction. `handler`: one reference.
LRESULT CALLBACK AbortAtDestruction(HWND window, UINT message, WPARAM w, LPARAM l, UINT_PTR id,
                                    DWORD_PTR handler) {
  const LRESULT result = DefSubclassProc(window, message, w, l);
  if (message != WM_DESTROY) return result;
  RemoveWindowSubclass(window, &AbortAtDestruction, id);
  const ComRef<Handler> last = ComRef<Handler>(reinterpret_cast<Handler*>(handler));
  last->Invoke(E_ABORT, nullptr);
  EventFile(ReadControlSettings().eventsFile).Write(MakeObject({{"event", "aborted"}}));
  return result;
}

void AbortWith(ComRef<Handler> handler, HWND parent) {
  SetWindowSubclass(parent, &AbortAtDestruction, 1, reinterpret_cast<DWORD_PTR>(handler.Release()));
}

}  // namespace

void Controller::Create(ComRef<IUnknown> environment, const std::shared_ptr<UiQueue>& queue,
                        std::shared_ptr<DevToolsConnection> connection,
                        const ControlSettings& settings, HWND parent,
                        ComRef<CreatedHandler> handler) {
  if (settings.creation == CreationMode::kControllerFail) {
    queue->Post(
        [queue, handler, error = settings.creationError] { handler->Invoke(error, nullptr); });
    return;
  }
  if (settings.creation == CreationMode::kAbort) {
    AbortWith(std::move(handler), parent);
    return;
  }
  const ComRef<Controller> controller(
      new Controller(std::move(environment), queue, settings, parent));
  controller->Open(queue, std::move(connection), settings,
                   std::make_shared<Creation>(controller, std::move(handler)));
}

Controller::Controller(ComRef<IUnknown> environment, std::shared_ptr<UiQueue> queue,
                       const ControlSettings& settings, HWND parent)
    : environment_(std::move(environment)),
      gate_(std::make_shared<Gate>(std::move(queue))),
      record_(MakeControlRecord(settings)),
      hasView_(settings.creation != CreationMode::kNoView),
      isReportedTwice_(settings.creation == CreationMode::kTwice),
      closeMs_(settings.closeMs),
      parent_(parent) {}

Controller::~Controller() { ShutDown(); }

void Controller::Open(const std::shared_ptr<UiQueue>& queue,
                      std::shared_ptr<DevToolsConnection> connection,
                      const ControlSettings& settings, const std::shared_ptr<Creation>& creation) {
  webView_ = ComRef<WebView>(new WebView(
      gate_, record_, settings, [creation](bool isUsable) { creation->OnPageOpened(isUsable); }));
  focus_->sender = this;
  window_ =
      PageWindow::Open(parent_, record_->Events(),
                       [queue, creation](bool isOpen) {
                         queue->Post([creation, isOpen] { creation->OnWindowOpened(isOpen); });
                       },
                       {.onFocus =
                            [queue, focus = focus_](bool hasFocus) {
                              queue->Post([focus, hasFocus] {
                                if (!focus->sender) return;
                                (hasFocus ? focus->got : focus->lost)
                                    .Invoke(focus->sender, static_cast<IUnknown*>(nullptr));
                              });
                            },
                        .onTabOut =
                            [queue, focus = focus_](bool isBackward) {
                              queue->Post([focus, isBackward] {
                                if (focus->sender) focus->sender->OnTabOut(isBackward);
                              });
                            }});
  PageSession::Receivers receivers;
  // The page holds the web view and not the controller, so that the last reference to the
  // controller ends both.
  receivers.onEvent = [queue, webView = webView_](PageEvent event) {
    queue->Post(
        [webView, event = std::move(event)]() mutable { webView->Handle(std::move(event)); });
  };
  receivers.onFrame = [weak = std::weak_ptr<PageWindow>(window_)](PageFrame frame) {
    if (const auto window = weak.lock()) window->ShowFrame(std::move(frame));
  };
  page_ = PageSession::Open(std::move(connection), settings, std::move(receivers));
  webView_->Connect(page_);
  window_->Connect(page_);
}

// As documented: unless a handler has moved the focus, it goes to the next tab stop of the host's
// window; without one it goes round within the page.
void Controller::OnTabOut(bool isBackward) {
  const ComRef<Controller> self = ComRef<Controller>::Share(this);  // a handler may close it
  const ComRef<MoveFocusArgs> args(new MoveFocusArgs(
      isBackward ? COREWEBVIEW2_MOVE_FOCUS_REASON_PREVIOUS : COREWEBVIEW2_MOVE_FOCUS_REASON_NEXT));
  focus_->leaving.Invoke(this, args.Get());
  if (args->IsHandled() || gate_->IsClosed()) return;
  if (const HWND next = NextTabStop(isBackward)) {
    SetFocus(next);
  } else {
    page_->EnterByTab(isBackward);
  }
}

// Null if there is none.
HWND Controller::NextTabStop(bool isBackward) const {
  const HWND next = GetNextDlgTabItem(parent_, window_->Handle(), isBackward);
  return next && next != window_->Handle() && (GetWindowLongPtrW(next, GWL_STYLE) & WS_TABSTOP)
             ? next
             : nullptr;
}

bool Controller::HasParent() const { return parent_ == HWND_MESSAGE || IsWindow(parent_) != FALSE; }

void Controller::ShutDown() {
  if (gate_->IsClosed()) return;
  gate_->Close();
  focus_->sender = nullptr;
  focus_->got.Clear();
  focus_->lost.Clear();
  focus_->leaving.Clear();
  if (webView_) webView_->Close();
  if (window_) window_->Close();
  record_->ReportClosed(HasParent());
}

HRESULT Controller::get_IsVisible(BOOL* isVisible) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : CopyValueTo(isVisible_, isVisible);
}

HRESULT Controller::put_IsVisible(BOOL isVisible) {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  isVisible_ = isVisible ? TRUE : FALSE;
  window_->Show(isVisible_ && !IsRectEmpty(&bounds_));
  return S_OK;
}

HRESULT Controller::get_Bounds(RECT* bounds) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : CopyValueTo(bounds_, bounds);
}

HRESULT Controller::put_Bounds(RECT bounds) {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  const int widthPx = bounds.right - bounds.left;
  const int heightPx = bounds.bottom - bounds.top;
  const bool isResized =
      widthPx != bounds_.right - bounds_.left || heightPx != bounds_.bottom - bounds_.top;
  bounds_ = bounds;
  window_->Place(bounds);
  window_->Show(isVisible_ && !IsRectEmpty(&bounds_));
  if (isResized) page_->Resize(widthPx, heightPx);
  return S_OK;
}

HRESULT Controller::get_ZoomFactor(double* zoomFactor) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : CopyValueTo(1.0, zoomFactor);
}

HRESULT Controller::MoveFocus(COREWEBVIEW2_MOVE_FOCUS_REASON reason) {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  window_->TakeFocus();
  if (reason != COREWEBVIEW2_MOVE_FOCUS_REASON_PROGRAMMATIC) {
    page_->EnterByTab(reason == COREWEBVIEW2_MOVE_FOCUS_REASON_PREVIOUS);
  }
  return S_OK;
}

HRESULT Controller::add_MoveFocusRequested(
    ICoreWebView2MoveFocusRequestedEventHandler* eventHandler, EventRegistrationToken* token) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : focus_->leaving.Add(focus_->tokens, eventHandler, token);
}
HRESULT Controller::remove_MoveFocusRequested(EventRegistrationToken token) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : focus_->leaving.Remove(token);
}

HRESULT Controller::add_GotFocus(ICoreWebView2FocusChangedEventHandler* eventHandler,
                                 EventRegistrationToken* token) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : focus_->got.Add(focus_->tokens, eventHandler, token);
}
HRESULT Controller::remove_GotFocus(EventRegistrationToken token) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : focus_->got.Remove(token);
}
HRESULT Controller::add_LostFocus(ICoreWebView2FocusChangedEventHandler* eventHandler,
                                  EventRegistrationToken* token) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : focus_->lost.Add(focus_->tokens, eventHandler, token);
}
HRESULT Controller::remove_LostFocus(EventRegistrationToken token) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : focus_->lost.Remove(token);
}

HRESULT Controller::get_ParentWindow(HWND* parentWindow) {
  const HRESULT check = gate_->Check();
  return FAILED(check) ? check : CopyValueTo(parent_, parentWindow);
}

HRESULT Controller::put_ParentWindow(HWND parentWindow) {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  if (!IsWindow(parentWindow)) return E_INVALIDARG;
  parent_ = parentWindow;
  window_->SetParentWindow(parentWindow);
  return S_OK;
}

HRESULT Controller::NotifyParentWindowPositionChanged() {
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  record_->Events()->Write(MakeObject({{"event", "moved"}}));
  return S_OK;
}

HRESULT Controller::Close() {
  if (const HRESULT check = gate_->Check(); check == kWrongThread) return check;
  if (closeMs_ > 0 && !gate_->IsClosed()) {
    record_->Events()->Write(MakeObject({{"event", "closing"}}));
    DispatchMessagesFor(closeMs_);
  }
  ShutDown();
  return S_OK;
}

HRESULT Controller::get_CoreWebView2(ICoreWebView2** coreWebView2) {
  if (!coreWebView2) return E_POINTER;
  *coreWebView2 = nullptr;
  if (const HRESULT check = gate_->Check(); FAILED(check)) return check;
  if (!hasView_) return E_FAIL;
  *coreWebView2 = webView_.Get();
  webView_->AddRef();
  return S_OK;
}

}  // namespace wendra
