// A handler object for tests: a callable with one of the platform's handler interfaces.
#pragma once

#include <functional>
#include <utility>

#include <windows.h>

#include "devruntime/webview2/com_object_win.h"
#include "devruntime/webview2/more_interfaces_win.h"
#include "win/unique.h"

namespace wendra {

template <typename Interface, typename First, typename Second>
class TestHandler final : public ComObject<Interface> {
 public:
  using Callable = std::function<void(First, Second)>;
  explicit TestHandler(Callable callable) : callable_(std::move(callable)) {}

  HRESULT STDMETHODCALLTYPE Invoke(First first, Second second) override {
    callable_(first, second);
    return S_OK;
  }

 private:
  Callable callable_;
};

using EnvironmentHandler = TestHandler<ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler,
                                       HRESULT, ICoreWebView2Environment*>;
using ControllerHandler = TestHandler<ICoreWebView2CreateCoreWebView2ControllerCompletedHandler,
                                      HRESULT, ICoreWebView2Controller*>;
using ScriptAddedHandler =
    TestHandler<ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler, HRESULT, LPCWSTR>;
using ScriptHandler = TestHandler<ICoreWebView2ExecuteScriptCompletedHandler, HRESULT, LPCWSTR>;
using MessageHandler = TestHandler<ICoreWebView2WebMessageReceivedEventHandler, ICoreWebView2*,
                                   ICoreWebView2WebMessageReceivedEventArgs*>;
using WindowHandler = TestHandler<ICoreWebView2NewWindowRequestedEventHandler, ICoreWebView2*,
                                  ICoreWebView2NewWindowRequestedEventArgs*>;
using MoveFocusHandler =
    TestHandler<ICoreWebView2MoveFocusRequestedEventHandler, ICoreWebView2Controller*,
                ICoreWebView2MoveFocusRequestedEventArgs*>;
using NavigationHandler = TestHandler<ICoreWebView2NavigationStartingEventHandler, ICoreWebView2*,
                                      ICoreWebView2NavigationStartingEventArgs*>;

// Makes a handler; the result owns the first reference.
template <typename Handler>
ComOwner<Handler> MakeHandler(typename Handler::Callable callable) {
  return ComOwner<Handler>(new Handler(std::move(callable)));
}

}  // namespace wendra
