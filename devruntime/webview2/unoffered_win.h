// The methods of the controller and of the web view that the stand-in does not offer: they fail and
// do nothing else.
#pragma once

#include "devruntime/webview2/com_object_win.h"

namespace wendra {

class UnofferedController : public ComObject<ICoreWebView2Controller> {
 public:
  HRESULT STDMETHODCALLTYPE put_ZoomFactor(double) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE add_ZoomFactorChanged(ICoreWebView2ZoomFactorChangedEventHandler*,
                                                  EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_ZoomFactorChanged(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE SetBoundsAndZoomFactor(RECT, double) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE add_AcceleratorKeyPressed(
      ICoreWebView2AcceleratorKeyPressedEventHandler*, EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_AcceleratorKeyPressed(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
};

class UnofferedWebView : public ComObject<ICoreWebView2> {
 public:
  HRESULT STDMETHODCALLTYPE get_Settings(ICoreWebView2Settings** settings) override {
    return NotOffered(settings);
  }
  HRESULT STDMETHODCALLTYPE NavigateToString(LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE add_HistoryChanged(ICoreWebView2HistoryChangedEventHandler*,
                                               EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_HistoryChanged(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE add_FrameNavigationStarting(
      ICoreWebView2NavigationStartingEventHandler*, EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_FrameNavigationStarting(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE add_FrameNavigationCompleted(
      ICoreWebView2NavigationCompletedEventHandler*, EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_FrameNavigationCompleted(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE add_ScriptDialogOpening(ICoreWebView2ScriptDialogOpeningEventHandler*,
                                                    EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_ScriptDialogOpening(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE add_PermissionRequested(ICoreWebView2PermissionRequestedEventHandler*,
                                                    EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_PermissionRequested(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE CapturePreview(COREWEBVIEW2_CAPTURE_PREVIEW_IMAGE_FORMAT, IStream*,
                                           ICoreWebView2CapturePreviewCompletedHandler*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE PostWebMessageAsJson(LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE PostWebMessageAsString(LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CallDevToolsProtocolMethod(
      LPCWSTR, LPCWSTR, ICoreWebView2CallDevToolsProtocolMethodCompletedHandler*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE get_BrowserProcessId(UINT32*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_CanGoBack(BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_CanGoForward(BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GoBack() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GoForward() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetDevToolsProtocolEventReceiver(
      LPCWSTR, ICoreWebView2DevToolsProtocolEventReceiver** receiver) override {
    return NotOffered(receiver);
  }
  HRESULT STDMETHODCALLTYPE add_DocumentTitleChanged(ICoreWebView2DocumentTitleChangedEventHandler*,
                                                     EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_DocumentTitleChanged(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE get_DocumentTitle(LPWSTR* title) override { return NotOffered(title); }
  HRESULT STDMETHODCALLTYPE AddHostObjectToScript(LPCWSTR, VARIANT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RemoveHostObjectFromScript(LPCWSTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE OpenDevToolsWindow() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE
  add_ContainsFullScreenElementChanged(ICoreWebView2ContainsFullScreenElementChangedEventHandler*,
                                       EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE
  remove_ContainsFullScreenElementChanged(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE get_ContainsFullScreenElement(BOOL*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE add_WebResourceRequested(ICoreWebView2WebResourceRequestedEventHandler*,
                                                     EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_WebResourceRequested(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE
  AddWebResourceRequestedFilter(LPCWSTR, COREWEBVIEW2_WEB_RESOURCE_CONTEXT) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE
  RemoveWebResourceRequestedFilter(LPCWSTR, COREWEBVIEW2_WEB_RESOURCE_CONTEXT) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE add_WindowCloseRequested(ICoreWebView2WindowCloseRequestedEventHandler*,
                                                     EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_WindowCloseRequested(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
};

}  // namespace wendra
