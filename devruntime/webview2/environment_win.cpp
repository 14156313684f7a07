#include "devruntime/webview2/environment_win.h"

#include <utility>

#include "devruntime/webview2/controller_win.h"
#include "devruntime/webview2/gate_win.h"

namespace wendra {

HRESULT Environment::Create(const ControlSettings& settings,
                            const ComRef<CreatedHandler>& handler) {
  auto queue = UiQueue::Create();
  if (!queue) return E_FAIL;
  if (settings.creation == CreationMode::kNever) return S_OK;
  if (settings.creation == CreationMode::kFail) {
    queue->Post(
        [queue, handler, error = settings.creationError] { handler->Invoke(error, nullptr); });
    return S_OK;
  }
  const ComOwner<Environment> environment(new Environment(settings, std::move(queue)));
  return environment->Connect(handler);
}

Environment::Environment(const ControlSettings& settings, std::shared_ptr<UiQueue> queue)
    : settings_(settings), queue_(std::move(queue)) {}

Environment::~Environment() {
  if (connection_) connection_->Close();
}

HRESULT Environment::Connect(const ComRef<CreatedHandler>& handler) {
  const bool isSync = settings_.creation == CreationMode::kSync;
  const auto report = [self = ComRef<Environment>::Share(this), handler](bool isConnected) {
    handler->Invoke(isConnected ? S_OK : E_FAIL, isConnected ? self.Get() : nullptr);
  };
  connection_ =
      DevToolsConnection::Start(settings_, [queue = queue_, report, isSync](bool isConnected) {
        if (!isSync) queue->Post([report, isConnected] { report(isConnected); });
      });
  if (isSync) report(connection_->WaitUntilConnected());
  return S_OK;
}

HRESULT Environment::CreateCoreWebView2Controller(
    HWND parentWindow, ICoreWebView2CreateCoreWebView2ControllerCompletedHandler* handler) {
  if (!queue_->IsThisThread()) return kWrongThread;
  if (!handler) return E_POINTER;
  if (parentWindow != HWND_MESSAGE && !IsWindow(parentWindow)) return E_INVALIDARG;
  Controller::Create(ComRef<IUnknown>::Share(this), queue_, connection_, settings_, parentWindow,
                     ComRef<Controller::CreatedHandler>::Share(handler));
  return S_OK;
}

HRESULT Environment::CreateWebResourceResponse(IStream*, int, LPCWSTR, LPCWSTR,
                                               ICoreWebView2WebResourceResponse** response) {
  return NotOffered(response);
}

HRESULT Environment::get_BrowserVersionString(LPWSTR* versionInfo) {
  return CopyTextTo(connection_->BrowserVersion(), versionInfo);
}

// Nothing replaces the browser while it runs, so the event would never be raised.
HRESULT Environment::add_NewBrowserVersionAvailable(
    ICoreWebView2NewBrowserVersionAvailableEventHandler*, EventRegistrationToken*) {
  return E_NOTIMPL;
}
HRESULT Environment::remove_NewBrowserVersionAvailable(EventRegistrationToken) { return E_NOTIMPL; }

}  // namespace wendra
