// The methods of a controller that the runtime does not offer: they fail and do nothing else.
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
  HRESULT STDMETHODCALLTYPE add_MoveFocusRequested(ICoreWebView2MoveFocusRequestedEventHandler*,
                                                   EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_MoveFocusRequested(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE add_GotFocus(ICoreWebView2FocusChangedEventHandler*,
                                         EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_GotFocus(EventRegistrationToken) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE add_LostFocus(ICoreWebView2FocusChangedEventHandler*,
                                          EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_LostFocus(EventRegistrationToken) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE add_AcceleratorKeyPressed(
      ICoreWebView2AcceleratorKeyPressedEventHandler*, EventRegistrationToken*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE remove_AcceleratorKeyPressed(EventRegistrationToken) override {
    return E_NOTIMPL;
  }
};

}  // namespace wendra
