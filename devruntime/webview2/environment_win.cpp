#include "devruntime/webview2/environment_win.h"

#include <utility>

#include "devruntime/webview2/controller_win.h"
#include "devruntime/webview2/gate_win.h"

namespace wendra {

HRESULT Environment::Create(const Settings& settings, const ComRef<CreatedHandler>& handler) {
  auto queue = UiQueue::Create();
  if (!queue) return E_FAIL;
  if (settings.creation == CreationMode::kNever) return S_OK;
  if (settings.creation == CreationMode::kFail) {
    queue->Post([queue, handler] { handler->Invoke(E_FAIL, nullptr); });
    return S_OK;
  }
  const auto environment = ComRef<Environment>::Adopt(new Environment(settings, std::move(queue)));
  return environment->Connect(handler);
}

Environment::Environment(const Settings& settings, std::shared_ptr<UiQueue> queue)
    : settings_(settings), queue_(std::move(queue)) {}

Environment::~Environment() {
  if (connection_) connection_->Close();
}

HRESULT Environment::Connect(const ComRef<CreatedHandler>& handler) {
  const bool now = settings_.creation == CreationMode::kSync;
  const auto tell = [self = ComRef<Environment>(this), handler](bool connected) {
    handler->Invoke(connected ? S_OK : E_FAIL, connected ? self.Get() : nullptr);
  };
  connection_ = DevToolsConnection::Start(settings_, [queue = queue_, tell, now](bool connected) {
    if (!now) queue->Post([tell, connected] { tell(connected); });
  });
  if (now) tell(connection_->WaitUntilConnected());
  return S_OK;
}

HRESULT Environment::CreateCoreWebView2Controller(
    HWND parentWindow, ICoreWebView2CreateCoreWebView2ControllerCompletedHandler* handler) {
  if (!queue_->IsThisThread()) return kWrongThread;
  if (!handler) return E_POINTER;
  if (parentWindow != HWND_MESSAGE && !IsWindow(parentWindow)) return E_INVALIDARG;
  Controller::Create(ComRef<IUnknown>(this), queue_, connection_, settings_, parentWindow,
                     ComRef<Controller::CreatedHandler>(handler));
  return S_OK;
}

HRESULT Environment::CreateWebResourceResponse(IStream*, int, LPCWSTR, LPCWSTR,
                                               ICoreWebView2WebResourceResponse** response) {
  if (response) *response = nullptr;
  return E_NOTIMPL;
}

HRESULT Environment::get_BrowserVersionString(LPWSTR* versionInfo) {
  return CopyTextTo(connection_->BrowserVersion(), versionInfo);
}

// The browser is never replaced while it runs, so the event would never come.
HRESULT Environment::add_NewBrowserVersionAvailable(
    ICoreWebView2NewBrowserVersionAvailableEventHandler*, EventRegistrationToken*) {
  return E_NOTIMPL;
}
HRESULT Environment::remove_NewBrowserVersionAvailable(EventRegistrationToken) { return E_NOTIMPL; }

}  // namespace wendra
