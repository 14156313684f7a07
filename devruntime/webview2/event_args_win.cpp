#include "devruntime/webview2/event_args_win.h"

#include "json/json.h"

namespace wendra {
namespace {

HRESULT CopyBoolTo(bool value, BOOL* out) { return CopyValueTo(value ? TRUE : FALSE, out); }

}  // namespace

HRESULT NavigationStartingArgs::get_Uri(LPWSTR* uri) { return CopyTextTo(navigation_.uri, uri); }
HRESULT NavigationStartingArgs::get_IsUserInitiated(BOOL* isUserInitiated) {
  return CopyBoolTo(navigation_.isUserInitiated, isUserInitiated);
}
HRESULT NavigationStartingArgs::get_IsRedirected(BOOL* isRedirected) {
  return CopyBoolTo(navigation_.isRedirected, isRedirected);
}
HRESULT NavigationStartingArgs::get_RequestHeaders(ICoreWebView2HttpRequestHeaders** headers) {
  if (!headers) return E_POINTER;
  return NotOffered(headers);
}
HRESULT NavigationStartingArgs::get_Cancel(BOOL* cancel) { return CopyValueTo(cancel_, cancel); }
HRESULT NavigationStartingArgs::put_Cancel(BOOL cancel) {
  cancel_ = cancel;
  return S_OK;
}
HRESULT NavigationStartingArgs::get_NavigationId(UINT64* navigationId) {
  return CopyValueTo<UINT64>(navigation_.id, navigationId);
}

HRESULT MoveFocusArgs::get_Reason(COREWEBVIEW2_MOVE_FOCUS_REASON* reason) {
  return CopyValueTo(reason_, reason);
}
HRESULT MoveFocusArgs::get_Handled(BOOL* value) { return CopyValueTo(handled_, value); }
HRESULT MoveFocusArgs::put_Handled(BOOL value) {
  handled_ = value;
  return S_OK;
}

HRESULT NewWindowArgs::get_Uri(LPWSTR* uri) { return CopyTextTo(window_.uri, uri); }
HRESULT NewWindowArgs::put_NewWindow(ICoreWebView2*) { return E_NOTIMPL; }
HRESULT NewWindowArgs::get_NewWindow(ICoreWebView2** newWindow) {
  if (!newWindow) return E_POINTER;
  *newWindow = nullptr;  // put_NewWindow takes none
  return S_OK;
}
HRESULT NewWindowArgs::put_Handled(BOOL handled) {
  handled_ = handled;
  return S_OK;
}
HRESULT NewWindowArgs::get_Handled(BOOL* handled) { return CopyValueTo(handled_, handled); }
HRESULT NewWindowArgs::get_IsUserInitiated(BOOL* isUserInitiated) {
  return CopyBoolTo(window_.isUserInitiated, isUserInitiated);
}
HRESULT NewWindowArgs::GetDeferral(ICoreWebView2Deferral** deferral) {
  if (!deferral) return E_POINTER;
  return NotOffered(deferral);
}
HRESULT NewWindowArgs::get_WindowFeatures(ICoreWebView2WindowFeatures** value) {
  if (!value) return E_POINTER;
  return NotOffered(value);
}

HRESULT GiveSource(SourceMode mode, std::string_view address, LPWSTR* out) {
  switch (mode) {
    case SourceMode::kAddress:
      return CopyTextTo(address, out);
    case SourceMode::kFails:
      return E_FAIL;
    case SourceMode::kNull:
      *out = nullptr;
      return S_OK;
    case SourceMode::kEmpty:
      return CopyTextTo("", out);
  }
  return E_FAIL;
}

HRESULT WebMessageArgs::get_Source(LPWSTR* value) {
  const HandlerTimings::Call call(*timings_);
  return GiveSource(source_, message_.source, value);
}
HRESULT WebMessageArgs::get_WebMessageAsJson(LPWSTR* value) {
  const HandlerTimings::Call call(*timings_);
  return CopyTextTo(message_.json, value);
}
HRESULT WebMessageArgs::TryGetWebMessageAsString(LPWSTR* value) {
  const HandlerTimings::Call call(*timings_);
  if (!value) return E_POINTER;
  *value = nullptr;
  if (!message_.json.starts_with('"')) return E_INVALIDARG;  // the page posted no string
  Json text;
  if (!Parse(message_.json, text)) return E_INVALIDARG;
  return CopyTextTo(text.text, value);
}

HRESULT NavigationCompletedArgs::get_IsSuccess(BOOL* isSuccess) {
  return CopyBoolTo(done_.isSuccess, isSuccess);
}
HRESULT NavigationCompletedArgs::get_WebErrorStatus(COREWEBVIEW2_WEB_ERROR_STATUS* status) {
  return CopyValueTo(static_cast<COREWEBVIEW2_WEB_ERROR_STATUS>(done_.error), status);
}
HRESULT NavigationCompletedArgs::get_NavigationId(UINT64* navigationId) {
  return CopyValueTo<UINT64>(done_.id, navigationId);
}

HRESULT SourceChangedArgs::get_IsNewDocument(BOOL* value) {
  return CopyBoolTo(isNewDocument_, value);
}

HRESULT ContentLoadingArgs::get_IsErrorPage(BOOL* value) {
  return CopyBoolTo(document_.isErrorPage, value);
}
HRESULT ContentLoadingArgs::get_NavigationId(UINT64* value) {
  return CopyValueTo<UINT64>(document_.id, value);
}

}  // namespace wendra
