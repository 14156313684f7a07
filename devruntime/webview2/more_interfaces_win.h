// Interfaces of the platform that the stand-in offers and the program does not use. The rules in
// webview/webview2_win.h apply here too.
#pragma once

#include "webview/webview2_events_win.h"

struct ICoreWebView2SourceChangedEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_IsNewDocument(BOOL* value) = 0;
};

struct ICoreWebView2SourceChangedEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2* sender,
                                           ICoreWebView2SourceChangedEventArgs* args) = 0;
};

struct ICoreWebView2MoveFocusRequestedEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_Reason(COREWEBVIEW2_MOVE_FOCUS_REASON* reason) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_Handled(BOOL* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE put_Handled(BOOL value) = 0;
};

struct ICoreWebView2MoveFocusRequestedEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2Controller* sender,
                                           ICoreWebView2MoveFocusRequestedEventArgs* args) = 0;
};

namespace wendra {

template <>
inline constexpr GUID kIidOf<ICoreWebView2SourceChangedEventArgs> = {
    0x31e0e545, 0x1dba, 0x4266, {0x89, 0x14, 0xf6, 0x38, 0x48, 0xa1, 0xf7, 0xd7}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2SourceChangedEventHandler> = {
    0x3c067f9f, 0x5388, 0x4772, {0x8b, 0x48, 0x79, 0xf7, 0xef, 0x1a, 0xb3, 0x7c}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2MoveFocusRequestedEventArgs> = {
    0x2d6aa13b, 0x3839, 0x4a15, {0x92, 0xfc, 0xd8, 0x8b, 0x3c, 0x0d, 0x9c, 0x9d}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2MoveFocusRequestedEventHandler> = {
    0x69035451, 0x6dc7, 0x4cb8, {0x9b, 0xce, 0xb2, 0xbd, 0x70, 0xad, 0x28, 0x9f}};

}  // namespace wendra
