// The arguments of events, as event handlers get them. UI thread.
#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "devruntime/webview2/com_object_win.h"
#include "devruntime/webview2/handler_timings_win.h"
#include "devruntime/webview2/more_interfaces_win.h"
#include "devruntime/webview2/page_event.h"
#include "devruntime/webview2/settings_win.h"

namespace wendra {

// What get_Source does in a mode.
HRESULT GiveSource(SourceMode mode, std::string_view address, LPWSTR* out);

class NavigationStartingArgs final : public ComObject<ICoreWebView2NavigationStartingEventArgs> {
 public:
  explicit NavigationStartingArgs(const NavigationWanted& navigation) : navigation_(navigation) {}
  bool IsCancelled() const { return cancel_ != FALSE; }

  HRESULT STDMETHODCALLTYPE get_Uri(LPWSTR* uri) override;
  HRESULT STDMETHODCALLTYPE get_IsUserInitiated(BOOL* isUserInitiated) override;
  HRESULT STDMETHODCALLTYPE get_IsRedirected(BOOL* isRedirected) override;
  HRESULT STDMETHODCALLTYPE
  get_RequestHeaders(ICoreWebView2HttpRequestHeaders** requestHeaders) override;
  HRESULT STDMETHODCALLTYPE get_Cancel(BOOL* cancel) override;
  HRESULT STDMETHODCALLTYPE put_Cancel(BOOL cancel) override;
  HRESULT STDMETHODCALLTYPE get_NavigationId(UINT64* navigationId) override;

 private:
  const NavigationWanted navigation_;
  BOOL cancel_ = FALSE;
};

class MoveFocusArgs final : public ComObject<ICoreWebView2MoveFocusRequestedEventArgs> {
 public:
  explicit MoveFocusArgs(COREWEBVIEW2_MOVE_FOCUS_REASON reason) : reason_(reason) {}
  bool IsHandled() const { return handled_ != FALSE; }

  HRESULT STDMETHODCALLTYPE get_Reason(COREWEBVIEW2_MOVE_FOCUS_REASON* reason) override;
  HRESULT STDMETHODCALLTYPE get_Handled(BOOL* value) override;
  HRESULT STDMETHODCALLTYPE put_Handled(BOOL value) override;

 private:
  const COREWEBVIEW2_MOVE_FOCUS_REASON reason_;
  BOOL handled_ = FALSE;
};

// No window opens, whether the event was handled or not; see docs/runtime-webview2.md.
class NewWindowArgs final : public ComObject<ICoreWebView2NewWindowRequestedEventArgs> {
 public:
  explicit NewWindowArgs(const WindowWanted& window) : window_(window) {}

  HRESULT STDMETHODCALLTYPE get_Uri(LPWSTR* uri) override;
  HRESULT STDMETHODCALLTYPE put_NewWindow(ICoreWebView2* newWindow) override;
  HRESULT STDMETHODCALLTYPE get_NewWindow(ICoreWebView2** newWindow) override;
  HRESULT STDMETHODCALLTYPE put_Handled(BOOL handled) override;
  HRESULT STDMETHODCALLTYPE get_Handled(BOOL* handled) override;
  HRESULT STDMETHODCALLTYPE get_IsUserInitiated(BOOL* isUserInitiated) override;
  HRESULT STDMETHODCALLTYPE GetDeferral(ICoreWebView2Deferral** deferral) override;
  HRESULT STDMETHODCALLTYPE get_WindowFeatures(ICoreWebView2WindowFeatures** value) override;

 private:
  const WindowWanted window_;
  BOOL handled_ = FALSE;
};

class WebMessageArgs final : public ComObject<ICoreWebView2WebMessageReceivedEventArgs> {
 public:
  WebMessageArgs(MessagePosted message, SourceMode source, std::shared_ptr<HandlerTimings> timings)
      : message_(std::move(message)), source_(source), timings_(std::move(timings)) {}

  HRESULT STDMETHODCALLTYPE get_Source(LPWSTR* value) override;
  HRESULT STDMETHODCALLTYPE get_WebMessageAsJson(LPWSTR* value) override;
  HRESULT STDMETHODCALLTYPE TryGetWebMessageAsString(LPWSTR* value) override;

 private:
  const MessagePosted message_;
  const SourceMode source_;
  const std::shared_ptr<HandlerTimings> timings_;
};

class NavigationCompletedArgs final : public ComObject<ICoreWebView2NavigationCompletedEventArgs> {
 public:
  explicit NavigationCompletedArgs(const NavigationDone& done) : done_(done) {}

  HRESULT STDMETHODCALLTYPE get_IsSuccess(BOOL* isSuccess) override;
  HRESULT STDMETHODCALLTYPE
  get_WebErrorStatus(COREWEBVIEW2_WEB_ERROR_STATUS* webErrorStatus) override;
  HRESULT STDMETHODCALLTYPE get_NavigationId(UINT64* navigationId) override;

 private:
  const NavigationDone done_;
};

class ProcessFailedArgs final : public ComObject<ICoreWebView2ProcessFailedEventArgs> {
 public:
  explicit ProcessFailedArgs(COREWEBVIEW2_PROCESS_FAILED_KIND kind) : kind_(kind) {}
  HRESULT STDMETHODCALLTYPE
  get_ProcessFailedKind(COREWEBVIEW2_PROCESS_FAILED_KIND* value) override {
    return CopyValueTo(kind_, value);
  }

 private:
  const COREWEBVIEW2_PROCESS_FAILED_KIND kind_;
};

class SourceChangedArgs final : public ComObject<ICoreWebView2SourceChangedEventArgs> {
 public:
  explicit SourceChangedArgs(bool isNewDocument) : isNewDocument_(isNewDocument) {}
  HRESULT STDMETHODCALLTYPE get_IsNewDocument(BOOL* value) override;

 private:
  const bool isNewDocument_;
};

class ContentLoadingArgs final : public ComObject<ICoreWebView2ContentLoadingEventArgs> {
 public:
  explicit ContentLoadingArgs(const DocumentCommitted& document) : document_(document) {}
  HRESULT STDMETHODCALLTYPE get_IsErrorPage(BOOL* value) override;
  HRESULT STDMETHODCALLTYPE get_NavigationId(UINT64* value) override;

 private:
  const DocumentCommitted document_;
};

}  // namespace wendra
