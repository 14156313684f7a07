// Declares, by hand, the arguments of WebView2's events and the handlers that a host implements.
// The rules in webview2_win.h apply here too.
#pragma once

#include "webview/webview2_win.h"

// A navigation has replaced the document, and no script of the new document has run.
struct ICoreWebView2ContentLoadingEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_IsErrorPage(BOOL* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_NavigationId(UINT64* value) = 0;
};

// A navigation is over: its document has loaded completely, or the navigation has failed, was
// cancelled or became a download (`isSuccess` is then FALSE). ContentLoading comes earlier, as soon
// as the new document is in place.
struct ICoreWebView2NavigationCompletedEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_IsSuccess(BOOL* isSuccess) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  get_WebErrorStatus(COREWEBVIEW2_WEB_ERROR_STATUS* webErrorStatus) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_NavigationId(UINT64* navigationId) = 0;
};

// A navigation is about to begin, before anything is sent.
struct ICoreWebView2NavigationStartingEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_Uri(LPWSTR* uri) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_IsUserInitiated(BOOL* isUserInitiated) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_IsRedirected(BOOL* isRedirected) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  get_RequestHeaders(ICoreWebView2HttpRequestHeaders** requestHeaders) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Cancel(BOOL* cancel) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Cancel(BOOL cancel) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_NavigationId(UINT64* navigationId) = 0;
};

// The page asks for a new window. Note the order of the methods: put comes before get.
struct ICoreWebView2NewWindowRequestedEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_Uri(LPWSTR* uri) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_NewWindow(ICoreWebView2* newWindow) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_NewWindow(ICoreWebView2** newWindow) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Handled(BOOL handled) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Handled(BOOL* handled) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_IsUserInitiated(BOOL* isUserInitiated) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDeferral(ICoreWebView2Deferral** deferral) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_WindowFeatures(ICoreWebView2WindowFeatures** value) = 0;
};

// The top-level document has called chrome.webview.postMessage.
struct ICoreWebView2WebMessageReceivedEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_Source(LPWSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_WebMessageAsJson(LPWSTR* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE TryGetWebMessageAsString(LPWSTR* value) = 0;
};

struct ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(HRESULT errorCode, ICoreWebView2Environment* result) = 0;
};

struct ICoreWebView2CreateCoreWebView2ControllerCompletedHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(HRESULT errorCode, ICoreWebView2Controller* result) = 0;
};

struct ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(HRESULT errorCode, LPCWSTR result) = 0;
};

struct ICoreWebView2ExecuteScriptCompletedHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(HRESULT errorCode, LPCWSTR result) = 0;
};

struct ICoreWebView2WebMessageReceivedEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2* sender,
                                           ICoreWebView2WebMessageReceivedEventArgs* args) = 0;
};

struct ICoreWebView2NewWindowRequestedEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2* sender,
                                           ICoreWebView2NewWindowRequestedEventArgs* args) = 0;
};

struct ICoreWebView2ContentLoadingEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2* sender,
                                           ICoreWebView2ContentLoadingEventArgs* args) = 0;
};

struct ICoreWebView2NavigationCompletedEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2* sender,
                                           ICoreWebView2NavigationCompletedEventArgs* args) = 0;
};

struct ICoreWebView2NavigationStartingEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2* sender,
                                           ICoreWebView2NavigationStartingEventArgs* args) = 0;
};

// A process of the control has ended or hangs.
struct ICoreWebView2ProcessFailedEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE
  get_ProcessFailedKind(COREWEBVIEW2_PROCESS_FAILED_KIND* value) = 0;
};

struct ICoreWebView2ProcessFailedEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2* sender,
                                           ICoreWebView2ProcessFailedEventArgs* args) = 0;
};

// The page has got or lost the keyboard. `args` is null.
struct ICoreWebView2FocusChangedEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2Controller* sender, IUnknown* args) = 0;
};

namespace wendra {

template <>
inline constexpr GUID kIidOf<ICoreWebView2ContentLoadingEventArgs> = {
    0x0c8a1275, 0x9b6b, 0x4901, {0x87, 0xad, 0x70, 0xdf, 0x25, 0xba, 0xfa, 0x6e}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2ContentLoadingEventHandler> = {
    0x364471e7, 0xf2be, 0x4910, {0xbd, 0xba, 0xd7, 0x20, 0x77, 0xd5, 0x1c, 0x4b}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2NavigationCompletedEventArgs> = {
    0x30d68b7d, 0x20d9, 0x4752, {0xa9, 0xca, 0xec, 0x84, 0x48, 0xfb, 0xb5, 0xc1}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2NavigationCompletedEventHandler> = {
    0xd33a35bf, 0x1c49, 0x4f98, {0x93, 0xab, 0x00, 0x6e, 0x05, 0x33, 0xfe, 0x1c}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2NavigationStartingEventArgs> = {
    0x5b495469, 0xe119, 0x438a, {0x9b, 0x18, 0x76, 0x04, 0xf2, 0x5f, 0x2e, 0x49}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2NewWindowRequestedEventArgs> = {
    0x34acb11c, 0xfc37, 0x4418, {0x91, 0x32, 0xf9, 0xc2, 0x1d, 0x1e, 0xaf, 0xb9}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2WebMessageReceivedEventArgs> = {
    0x0f99a40c, 0xe962, 0x4207, {0x9e, 0x92, 0xe3, 0xd5, 0x42, 0xef, 0xf8, 0x49}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler> = {
    0x4e8a3389, 0xc9d8, 0x4bd2, {0xb6, 0xb5, 0x12, 0x4f, 0xee, 0x6c, 0xc1, 0x4d}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2CreateCoreWebView2ControllerCompletedHandler> = {
    0x6c4819f3, 0xc9b7, 0x4260, {0x81, 0x27, 0xc9, 0xf5, 0xbd, 0xe7, 0xf6, 0x8c}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler> = {
    0xb99369f3, 0x9b11, 0x47b5, {0xbc, 0x6f, 0x8e, 0x78, 0x95, 0xfc, 0xea, 0x17}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2ExecuteScriptCompletedHandler> = {
    0x49511172, 0xcc67, 0x4bca, {0x99, 0x23, 0x13, 0x71, 0x12, 0xf4, 0xc4, 0xcc}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2WebMessageReceivedEventHandler> = {
    0x57213f19, 0x00e6, 0x49fa, {0x8e, 0x07, 0x89, 0x8e, 0xa0, 0x1e, 0xcb, 0xd2}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2NewWindowRequestedEventHandler> = {
    0xd4c185fe, 0xc81c, 0x4989, {0x97, 0xaf, 0x2d, 0x3f, 0xa7, 0xab, 0x56, 0x51}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2NavigationStartingEventHandler> = {
    0x9adbe429, 0xf36d, 0x432b, {0x9d, 0xdc, 0xf8, 0x88, 0x1f, 0xbd, 0x76, 0xe3}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2ProcessFailedEventArgs> = {
    0x8155a9a4, 0x1474, 0x4a86, {0x8c, 0xae, 0x15, 0x1b, 0x0f, 0xa6, 0xb8, 0xca}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2ProcessFailedEventHandler> = {
    0x79e0aea4, 0x990b, 0x42d9, {0xaa, 0x1d, 0x0f, 0xcc, 0x2e, 0x5b, 0xc7, 0xf1}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2FocusChangedEventHandler> = {
    0x05ea24bd, 0x6452, 0x4926, {0x90, 0x14, 0x4b, 0x82, 0xb4, 0x98, 0x13, 0x5d}};

}  // namespace wendra
