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

namespace wendra {

template <>
inline constexpr GUID kIidOf<ICoreWebView2SourceChangedEventArgs> = {
    0x31e0e545, 0x1dba, 0x4266, {0x89, 0x14, 0xf6, 0x38, 0x48, 0xa1, 0xf7, 0xd7}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2SourceChangedEventHandler> = {
    0x3c067f9f, 0x5388, 0x4772, {0x8b, 0x48, 0x79, 0xf7, 0xef, 0x1a, 0xb3, 0x7c}};

}  // namespace wendra
