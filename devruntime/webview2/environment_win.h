// The environment: it owns the connection to the browser, and makes controllers that share it.
#pragma once

#include <memory>

#include "devruntime/webview2/com_object_win.h"
#include "devruntime/webview2/devtools_connection_win.h"
#include "devruntime/webview2/settings_win.h"
#include "devruntime/webview2/ui_queue_win.h"

namespace wendra {

class Environment final : public ComObject<ICoreWebView2Environment> {
 public:
  using CreatedHandler = ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler;

  // Invokes `handler` once, later, from the message loop of this thread. The settings may ask for
  // another course, see CreationMode.
  static HRESULT Create(const ControlSettings& settings, const ComRef<CreatedHandler>& handler);

  HRESULT STDMETHODCALLTYPE CreateCoreWebView2Controller(
      HWND parentWindow,
      ICoreWebView2CreateCoreWebView2ControllerCompletedHandler* handler) override;
  HRESULT STDMETHODCALLTYPE
  CreateWebResourceResponse(IStream* content, int statusCode, LPCWSTR reasonPhrase, LPCWSTR headers,
                            ICoreWebView2WebResourceResponse** response) override;
  HRESULT STDMETHODCALLTYPE get_BrowserVersionString(LPWSTR* versionInfo) override;
  HRESULT STDMETHODCALLTYPE
  add_NewBrowserVersionAvailable(ICoreWebView2NewBrowserVersionAvailableEventHandler* eventHandler,
                                 EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE
  remove_NewBrowserVersionAvailable(EventRegistrationToken token) override;

 private:
  Environment(const ControlSettings& settings, std::shared_ptr<UiQueue> queue);
  ~Environment() override;

  HRESULT Connect(const ComRef<CreatedHandler>& handler);

  const ControlSettings settings_;
  const std::shared_ptr<UiQueue> queue_;
  std::shared_ptr<DevToolsConnection> connection_;
};

}  // namespace wendra
