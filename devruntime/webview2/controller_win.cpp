#include "devruntime/webview2/controller_win.h"

#include <utility>

namespace wendra {

// Waits for the two things that a controller needs, a window and a page, and then tells the host.
// UI thread.
class Controller::Creation {
 public:
  Creation(ComRef<Controller> controller, ComRef<CreatedHandler> handler)
      : controller_(std::move(controller)), handler_(std::move(handler)) {}

  void WindowOpened(bool opened) { Step(opened ? S_OK : E_ABORT); }  // no parent, no window
  void PageOpened(bool opened) { Step(opened ? S_OK : E_FAIL); }

 private:
  void Step(HRESULT result) {
    if (SUCCEEDED(result_)) result_ = result;
    if (--missing_ > 0) return;
    const auto controller = std::exchange(controller_, {});
    const auto handler = std::exchange(handler_, {});
    // The parent may have gone while the page was on its way.
    if (SUCCEEDED(result_) && !controller->HasParent()) result_ = E_ABORT;
    if (FAILED(result_)) controller->Shut();
    handler->Invoke(result_, SUCCEEDED(result_) ? controller.Get() : nullptr);
  }

  ComRef<Controller> controller_;
  ComRef<CreatedHandler> handler_;
  HRESULT result_ = S_OK;
  int missing_ = 2;
};

void Controller::Create(ComRef<IUnknown> environment, const std::shared_ptr<UiQueue>& queue,
                        std::shared_ptr<DevToolsConnection> connection, const Settings& settings,
                        HWND parent, ComRef<CreatedHandler> handler) {
  if (settings.creation == CreationMode::kControllerFail) {
    queue->Post([queue, handler] { handler->Invoke(E_FAIL, nullptr); });
    return;
  }
  const auto controller =
      ComRef<Controller>::Adopt(new Controller(std::move(environment), queue, settings, parent));
  controller->Open(queue, std::move(connection), settings,
                   std::make_shared<Creation>(controller, std::move(handler)));
}

Controller::Controller(ComRef<IUnknown> environment, std::shared_ptr<UiQueue> queue,
                       const Settings& settings, HWND parent)
    : environment_(std::move(environment)),
      gate_(std::make_shared<Gate>(std::move(queue))),
      record_(MakeControlRecord(settings)),
      hasView_(settings.creation != CreationMode::kNoView),
      parent_(parent) {}

Controller::~Controller() { Shut(); }

void Controller::Open(const std::shared_ptr<UiQueue>& queue,
                      std::shared_ptr<DevToolsConnection> connection, const Settings& settings,
                      const std::shared_ptr<Creation>& creation) {
  webView_ = ComRef<WebView>::Adopt(new WebView(
      gate_, record_, settings, [creation](bool usable) { creation->PageOpened(usable); }));
  window_ = PageWindow::Open(parent_, record_->Events(), [queue, creation](bool opened) {
    queue->Post([creation, opened] { creation->WindowOpened(opened); });
  });
  PageSession::Receivers receivers;
  // The page holds the web view, not the controller: whoever lets go of the controller ends both.
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

bool Controller::HasParent() const { return parent_ == HWND_MESSAGE || IsWindow(parent_) != FALSE; }

void Controller::Shut() {
  if (gate_->IsClosed()) return;
  gate_->Close();
  if (webView_) webView_->Close();
  if (window_) window_->Close();
  record_->TellClosed(HasParent());
}

HRESULT Controller::get_IsVisible(BOOL* isVisible) {
  const HRESULT open = gate_->Check();
  return FAILED(open) ? open : CopyValueTo(isVisible_, isVisible);
}

HRESULT Controller::put_IsVisible(BOOL isVisible) {
  if (const HRESULT open = gate_->Check(); FAILED(open)) return open;
  isVisible_ = isVisible ? TRUE : FALSE;
  window_->Show(isVisible_ && !IsRectEmpty(&bounds_));
  return S_OK;
}

HRESULT Controller::get_Bounds(RECT* bounds) {
  const HRESULT open = gate_->Check();
  return FAILED(open) ? open : CopyValueTo(bounds_, bounds);
}

HRESULT Controller::put_Bounds(RECT bounds) {
  if (const HRESULT open = gate_->Check(); FAILED(open)) return open;
  const bool resized = bounds.right - bounds.left != bounds_.right - bounds_.left ||
                       bounds.bottom - bounds.top != bounds_.bottom - bounds_.top;
  bounds_ = bounds;
  window_->Place(bounds);
  window_->Show(isVisible_ && !IsRectEmpty(&bounds_));
  if (resized) page_->Resize(bounds.right - bounds.left, bounds.bottom - bounds.top);
  return S_OK;
}

HRESULT Controller::get_ZoomFactor(double* zoomFactor) {
  const HRESULT open = gate_->Check();
  return FAILED(open) ? open : CopyValueTo(1.0, zoomFactor);
}

HRESULT Controller::MoveFocus(COREWEBVIEW2_MOVE_FOCUS_REASON) {
  if (const HRESULT open = gate_->Check(); FAILED(open)) return open;
  window_->TakeFocus();
  return S_OK;
}

HRESULT Controller::get_ParentWindow(HWND* parentWindow) {
  const HRESULT open = gate_->Check();
  return FAILED(open) ? open : CopyValueTo(parent_, parentWindow);
}

HRESULT Controller::put_ParentWindow(HWND parentWindow) {
  if (const HRESULT open = gate_->Check(); FAILED(open)) return open;
  if (!IsWindow(parentWindow)) return E_INVALIDARG;
  parent_ = parentWindow;
  window_->SetParentWindow(parentWindow);
  return S_OK;
}

HRESULT Controller::NotifyParentWindowPositionChanged() { return gate_->Check(); }

HRESULT Controller::Close() {
  if (const HRESULT open = gate_->Check(); open == kWrongThread) return open;
  Shut();
  return S_OK;
}

HRESULT Controller::get_CoreWebView2(ICoreWebView2** coreWebView2) {
  if (!coreWebView2) return E_POINTER;
  *coreWebView2 = nullptr;
  if (const HRESULT open = gate_->Check(); FAILED(open)) return open;
  if (!hasView_) return E_FAIL;
  *coreWebView2 = webView_.Get();
  webView_->AddRef();
  return S_OK;
}

}  // namespace wendra
