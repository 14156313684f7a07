// The control in the host's window: its bounds, its visibility, its end.
#pragma once

#include <memory>

#include "devruntime/webview2/control_record_win.h"
#include "devruntime/webview2/devtools_connection_win.h"
#include "devruntime/webview2/gate_win.h"
#include "devruntime/webview2/page_window_win.h"
#include "devruntime/webview2/unoffered_win.h"
#include "devruntime/webview2/web_view_win.h"

namespace wendra {

class Controller final : public UnofferedController {
 public:
  using CreatedHandler = ICoreWebView2CreateCoreWebView2ControllerCompletedHandler;

  // Invokes `handler` once, later, from `queue`. The controller holds `environment` as long as it
  // lives.
  static void Create(ComRef<IUnknown> environment, const std::shared_ptr<UiQueue>& queue,
                     std::shared_ptr<DevToolsConnection> connection,
                     const ControlSettings& settings, HWND parent, ComRef<CreatedHandler> handler);

  HRESULT STDMETHODCALLTYPE get_IsVisible(BOOL* isVisible) override;
  HRESULT STDMETHODCALLTYPE put_IsVisible(BOOL isVisible) override;
  HRESULT STDMETHODCALLTYPE get_Bounds(RECT* bounds) override;
  HRESULT STDMETHODCALLTYPE put_Bounds(RECT bounds) override;
  HRESULT STDMETHODCALLTYPE get_ZoomFactor(double* zoomFactor) override;
  HRESULT STDMETHODCALLTYPE MoveFocus(COREWEBVIEW2_MOVE_FOCUS_REASON reason) override;
  HRESULT STDMETHODCALLTYPE
  add_MoveFocusRequested(ICoreWebView2MoveFocusRequestedEventHandler* eventHandler,
                         EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_MoveFocusRequested(EventRegistrationToken token) override;
  HRESULT STDMETHODCALLTYPE add_GotFocus(ICoreWebView2FocusChangedEventHandler* eventHandler,
                                         EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_GotFocus(EventRegistrationToken token) override;
  HRESULT STDMETHODCALLTYPE add_LostFocus(ICoreWebView2FocusChangedEventHandler* eventHandler,
                                          EventRegistrationToken* token) override;
  HRESULT STDMETHODCALLTYPE remove_LostFocus(EventRegistrationToken token) override;
  HRESULT STDMETHODCALLTYPE get_ParentWindow(HWND* parentWindow) override;
  HRESULT STDMETHODCALLTYPE put_ParentWindow(HWND parentWindow) override;
  HRESULT STDMETHODCALLTYPE NotifyParentWindowPositionChanged() override;
  HRESULT STDMETHODCALLTYPE Close() override;
  HRESULT STDMETHODCALLTYPE get_CoreWebView2(ICoreWebView2** coreWebView2) override;

 private:
  class Creation;

  // What the host wants to hear of the focus. Shared with the page's window, which may live longer
  // than the controller. UI thread.
  struct FocusEvents {
    Controller* sender;  // null once the controller is closed
    TokenSource tokens;
    HandlerList<ICoreWebView2FocusChangedEventHandler> got;
    HandlerList<ICoreWebView2FocusChangedEventHandler> lost;
    HandlerList<ICoreWebView2MoveFocusRequestedEventHandler> leaving;
  };

  Controller(ComRef<IUnknown> environment, std::shared_ptr<UiQueue> queue,
             const ControlSettings& settings, HWND parent);
  ~Controller() override;

  void Open(const std::shared_ptr<UiQueue>& queue, std::shared_ptr<DevToolsConnection> connection,
            const ControlSettings& settings, const std::shared_ptr<Creation>& creation);
  void OnTabOut(bool isBackward);
  HWND NextTabStop(bool isBackward) const;
  bool HasParent() const;
  void ShutDown();

  const ComRef<IUnknown> environment_;
  const std::shared_ptr<Gate> gate_;
  const std::shared_ptr<ControlRecord> record_;
  const bool hasView_;  // false: get_CoreWebView2 fails
  const bool isReportedTwice_;
  const DWORD closeMs_;  // how long Close dispatches messages
  HWND parent_;
  RECT bounds_{};
  BOOL isVisible_ = TRUE;
  const std::shared_ptr<FocusEvents> focus_ = std::make_shared<FocusEvents>();
  std::shared_ptr<PageWindow> window_;
  std::shared_ptr<PageSession> page_;
  ComRef<WebView> webView_;
};

}  // namespace wendra
