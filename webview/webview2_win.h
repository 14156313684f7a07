// Declares, by hand, the WebView2 interfaces that this program calls and those that it implements.
//
// Names, order of the methods and identifiers are those of the platform (Microsoft's published
// reference; the interfaces have not changed since their first release). The order of the methods
// is the binary interface: never move, add or remove one. tests/devruntime/ checks the slots.
//
// Rules of the platform that the declarations cannot express:
// - All calls and all callbacks happen on the thread that made the environment. The thread must
//   dispatch messages, and callbacks come from its message loop.
// - The callee copies the texts that it is given. The caller owns the texts that it gets (LPWSTR*)
//   and frees them with CoTaskMemFree; after a failure there is nothing to free.
// - An interface pointer that a call returns (**) is a reference that the caller releases. Pointers
//   given to Invoke are lent for the call.
// - A `remove_` method takes the 8 bytes of the token by value.
#pragma once

#include <windows.h>

#include <eventtoken.h>
#include <oaidl.h>
#include <objidl.h>
#include <unknwn.h>

struct ICoreWebView2;
struct ICoreWebView2AcceleratorKeyPressedEventHandler;
struct ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler;
struct ICoreWebView2CallDevToolsProtocolMethodCompletedHandler;
struct ICoreWebView2CapturePreviewCompletedHandler;
struct ICoreWebView2ContainsFullScreenElementChangedEventHandler;
struct ICoreWebView2ContentLoadingEventArgs;
struct ICoreWebView2ContentLoadingEventHandler;
struct ICoreWebView2Controller;
struct ICoreWebView2CreateCoreWebView2ControllerCompletedHandler;
struct ICoreWebView2Deferral;
struct ICoreWebView2DevToolsProtocolEventReceiver;
struct ICoreWebView2DocumentTitleChangedEventHandler;
struct ICoreWebView2Environment;
struct ICoreWebView2ExecuteScriptCompletedHandler;
struct ICoreWebView2FocusChangedEventHandler;
struct ICoreWebView2HistoryChangedEventHandler;
struct ICoreWebView2HttpRequestHeaders;
struct ICoreWebView2MoveFocusRequestedEventHandler;
struct ICoreWebView2NavigationCompletedEventArgs;
struct ICoreWebView2NavigationCompletedEventHandler;
struct ICoreWebView2NavigationStartingEventArgs;
struct ICoreWebView2NavigationStartingEventHandler;
struct ICoreWebView2NewBrowserVersionAvailableEventHandler;
struct ICoreWebView2NewWindowRequestedEventArgs;
struct ICoreWebView2NewWindowRequestedEventHandler;
struct ICoreWebView2PermissionRequestedEventHandler;
struct ICoreWebView2ProcessFailedEventArgs;
struct ICoreWebView2ProcessFailedEventHandler;
struct ICoreWebView2ScriptDialogOpeningEventHandler;
struct ICoreWebView2Settings;
struct ICoreWebView2SourceChangedEventHandler;
struct ICoreWebView2WebMessageReceivedEventArgs;
struct ICoreWebView2WebMessageReceivedEventHandler;
struct ICoreWebView2WebResourceRequestedEventHandler;
struct ICoreWebView2WebResourceResponse;
struct ICoreWebView2WindowCloseRequestedEventHandler;
struct ICoreWebView2WindowFeatures;
struct ICoreWebView2ZoomFactorChangedEventHandler;
struct ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler;
struct ICoreWebView2EnvironmentOptions;

enum COREWEBVIEW2_MOVE_FOCUS_REASON : int {
  COREWEBVIEW2_MOVE_FOCUS_REASON_PROGRAMMATIC = 0,
  COREWEBVIEW2_MOVE_FOCUS_REASON_NEXT = 1,
  COREWEBVIEW2_MOVE_FOCUS_REASON_PREVIOUS = 2,
};
enum COREWEBVIEW2_PROCESS_FAILED_KIND : int {
  COREWEBVIEW2_PROCESS_FAILED_KIND_BROWSER_PROCESS_EXITED = 0,
  COREWEBVIEW2_PROCESS_FAILED_KIND_RENDER_PROCESS_EXITED = 1,
  COREWEBVIEW2_PROCESS_FAILED_KIND_RENDER_PROCESS_UNRESPONSIVE = 2,
  COREWEBVIEW2_PROCESS_FAILED_KIND_FRAME_RENDER_PROCESS_EXITED = 3,
  COREWEBVIEW2_PROCESS_FAILED_KIND_UTILITY_PROCESS_EXITED = 4,
  COREWEBVIEW2_PROCESS_FAILED_KIND_SANDBOX_HELPER_PROCESS_EXITED = 5,
  COREWEBVIEW2_PROCESS_FAILED_KIND_GPU_PROCESS_EXITED = 6,
  COREWEBVIEW2_PROCESS_FAILED_KIND_PPAPI_PLUGIN_PROCESS_EXITED = 7,
  COREWEBVIEW2_PROCESS_FAILED_KIND_PPAPI_BROKER_PROCESS_EXITED = 8,
  COREWEBVIEW2_PROCESS_FAILED_KIND_UNKNOWN_PROCESS_EXITED = 9,
};
// Only methods that this program does not call use these types, of four bytes each.
enum COREWEBVIEW2_CAPTURE_PREVIEW_IMAGE_FORMAT : int;
enum COREWEBVIEW2_WEB_RESOURCE_CONTEXT : int;
enum COREWEBVIEW2_WEB_ERROR_STATUS : int;

// Makes controllers. Belongs to one user data folder.
struct ICoreWebView2Environment : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE CreateCoreWebView2Controller(
      HWND parentWindow, ICoreWebView2CreateCoreWebView2ControllerCompletedHandler* handler) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CreateWebResourceResponse(IStream* content, int statusCode, LPCWSTR reasonPhrase, LPCWSTR headers,
                            ICoreWebView2WebResourceResponse** response) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BrowserVersionString(LPWSTR* versionInfo) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  add_NewBrowserVersionAvailable(ICoreWebView2NewBrowserVersionAvailableEventHandler* eventHandler,
                                 EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  remove_NewBrowserVersionAvailable(EventRegistrationToken token) = 0;
};

// One control in one window: its bounds, visibility, focus and closing.
struct ICoreWebView2Controller : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_IsVisible(BOOL* isVisible) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_IsVisible(BOOL isVisible) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Bounds(RECT* bounds) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Bounds(RECT bounds) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ZoomFactor(double* zoomFactor) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ZoomFactor(double zoomFactor) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_ZoomFactorChanged(
      ICoreWebView2ZoomFactorChangedEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_ZoomFactorChanged(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE SetBoundsAndZoomFactor(RECT bounds, double zoomFactor) = 0;
  virtual HRESULT STDMETHODCALLTYPE MoveFocus(COREWEBVIEW2_MOVE_FOCUS_REASON reason) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_MoveFocusRequested(
      ICoreWebView2MoveFocusRequestedEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_MoveFocusRequested(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_GotFocus(
      ICoreWebView2FocusChangedEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_GotFocus(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_LostFocus(
      ICoreWebView2FocusChangedEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_LostFocus(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  add_AcceleratorKeyPressed(ICoreWebView2AcceleratorKeyPressedEventHandler* eventHandler,
                            EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_AcceleratorKeyPressed(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_ParentWindow(HWND* parentWindow) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_ParentWindow(HWND parentWindow) = 0;
  virtual HRESULT STDMETHODCALLTYPE NotifyParentWindowPositionChanged() = 0;
  virtual HRESULT STDMETHODCALLTYPE Close() = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CoreWebView2(ICoreWebView2** coreWebView2) = 0;
};

// The browser of a controller: navigation, scripts, events.
struct ICoreWebView2 : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_Settings(ICoreWebView2Settings** settings) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Source(LPWSTR* uri) = 0;
  virtual HRESULT STDMETHODCALLTYPE Navigate(LPCWSTR uri) = 0;
  virtual HRESULT STDMETHODCALLTYPE NavigateToString(LPCWSTR htmlContent) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_NavigationStarting(
      ICoreWebView2NavigationStartingEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_NavigationStarting(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_ContentLoading(
      ICoreWebView2ContentLoadingEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_ContentLoading(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_SourceChanged(
      ICoreWebView2SourceChangedEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_SourceChanged(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_HistoryChanged(
      ICoreWebView2HistoryChangedEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_HistoryChanged(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  add_NavigationCompleted(ICoreWebView2NavigationCompletedEventHandler* eventHandler,
                          EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_NavigationCompleted(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_FrameNavigationStarting(
      ICoreWebView2NavigationStartingEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  remove_FrameNavigationStarting(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  add_FrameNavigationCompleted(ICoreWebView2NavigationCompletedEventHandler* eventHandler,
                               EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  remove_FrameNavigationCompleted(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  add_ScriptDialogOpening(ICoreWebView2ScriptDialogOpeningEventHandler* eventHandler,
                          EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_ScriptDialogOpening(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  add_PermissionRequested(ICoreWebView2PermissionRequestedEventHandler* eventHandler,
                          EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_PermissionRequested(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_ProcessFailed(
      ICoreWebView2ProcessFailedEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_ProcessFailed(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE AddScriptToExecuteOnDocumentCreated(
      LPCWSTR javaScript,
      ICoreWebView2AddScriptToExecuteOnDocumentCreatedCompletedHandler* handler) = 0;
  virtual HRESULT STDMETHODCALLTYPE RemoveScriptToExecuteOnDocumentCreated(LPCWSTR id) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  ExecuteScript(LPCWSTR javaScript, ICoreWebView2ExecuteScriptCompletedHandler* handler) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CapturePreview(COREWEBVIEW2_CAPTURE_PREVIEW_IMAGE_FORMAT imageFormat, IStream* imageStream,
                 ICoreWebView2CapturePreviewCompletedHandler* handler) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reload() = 0;
  virtual HRESULT STDMETHODCALLTYPE PostWebMessageAsJson(LPCWSTR webMessageAsJson) = 0;
  virtual HRESULT STDMETHODCALLTYPE PostWebMessageAsString(LPCWSTR webMessageAsString) = 0;
  virtual HRESULT STDMETHODCALLTYPE add_WebMessageReceived(
      ICoreWebView2WebMessageReceivedEventHandler* handler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_WebMessageReceived(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  CallDevToolsProtocolMethod(LPCWSTR methodName, LPCWSTR parametersAsJson,
                             ICoreWebView2CallDevToolsProtocolMethodCompletedHandler* handler) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_BrowserProcessId(UINT32* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CanGoBack(BOOL* canGoBack) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_CanGoForward(BOOL* canGoForward) = 0;
  virtual HRESULT STDMETHODCALLTYPE GoBack() = 0;
  virtual HRESULT STDMETHODCALLTYPE GoForward() = 0;
  virtual HRESULT STDMETHODCALLTYPE GetDevToolsProtocolEventReceiver(
      LPCWSTR eventName, ICoreWebView2DevToolsProtocolEventReceiver** receiver) = 0;
  virtual HRESULT STDMETHODCALLTYPE Stop() = 0;
  virtual HRESULT STDMETHODCALLTYPE add_NewWindowRequested(
      ICoreWebView2NewWindowRequestedEventHandler* eventHandler, EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_NewWindowRequested(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  add_DocumentTitleChanged(ICoreWebView2DocumentTitleChangedEventHandler* eventHandler,
                           EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_DocumentTitleChanged(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_DocumentTitle(LPWSTR* title) = 0;
  virtual HRESULT STDMETHODCALLTYPE AddHostObjectToScript(LPCWSTR name, VARIANT* object) = 0;
  virtual HRESULT STDMETHODCALLTYPE RemoveHostObjectFromScript(LPCWSTR name) = 0;
  virtual HRESULT STDMETHODCALLTYPE OpenDevToolsWindow() = 0;
  virtual HRESULT STDMETHODCALLTYPE add_ContainsFullScreenElementChanged(
      ICoreWebView2ContainsFullScreenElementChangedEventHandler* eventHandler,
      EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  remove_ContainsFullScreenElementChanged(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  get_ContainsFullScreenElement(BOOL* containsFullScreenElement) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  add_WebResourceRequested(ICoreWebView2WebResourceRequestedEventHandler* eventHandler,
                           EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_WebResourceRequested(EventRegistrationToken token) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  AddWebResourceRequestedFilter(LPCWSTR uri, COREWEBVIEW2_WEB_RESOURCE_CONTEXT resourceContext) = 0;
  virtual HRESULT STDMETHODCALLTYPE RemoveWebResourceRequestedFilter(
      LPCWSTR uri, COREWEBVIEW2_WEB_RESOURCE_CONTEXT resourceContext) = 0;
  virtual HRESULT STDMETHODCALLTYPE
  add_WindowCloseRequested(ICoreWebView2WindowCloseRequestedEventHandler* eventHandler,
                           EventRegistrationToken* token) = 0;
  virtual HRESULT STDMETHODCALLTYPE remove_WindowCloseRequested(EventRegistrationToken token) = 0;
};

// Exported by WebView2Loader.dll. UI thread, in a single-threaded apartment. Each of the first
// three parameters may be null. If the return value is a success, `handler` is invoked exactly
// once, possibly with a failure and null, and possibly before this function returns. Without an
// installed runtime the function returns HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND) and does not
// invoke `handler`.
extern "C" HRESULT STDMETHODCALLTYPE CreateCoreWebView2EnvironmentWithOptions(
    PCWSTR browserExecutableFolder, PCWSTR userDataFolder,
    ICoreWebView2EnvironmentOptions* environmentOptions,
    ICoreWebView2CreateCoreWebView2EnvironmentCompletedHandler* handler);

namespace wendra {

// The identifier of a COM interface, as `kIidOf<ICoreWebView2>`. An interface that is not listed
// here does not compile. (Compilers have ways of their own to attach an identifier to an interface,
// but they are not compatible.)
template <typename Interface>
inline constexpr GUID kIidOf = Interface::kHasNoIdentifierHere;

template <>
inline constexpr GUID kIidOf<IUnknown> = {
    0x00000000, 0x0000, 0x0000, {0xc0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2Environment> = {
    0xb96d755e, 0x0319, 0x4e92, {0xa2, 0x96, 0x23, 0x43, 0x6f, 0x46, 0xa1, 0xfc}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2Controller> = {
    0x4d00c0d1, 0x9434, 0x4eb6, {0x80, 0x78, 0x86, 0x97, 0xa5, 0x60, 0x33, 0x4f}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2> = {
    0x76eceacb, 0x0462, 0x4d94, {0xac, 0x83, 0x42, 0x3a, 0x67, 0x93, 0x77, 0x5e}};

}  // namespace wendra
