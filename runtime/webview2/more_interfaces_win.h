// Interfaces of the platform that the runtime offers beyond those that the program uses.
// The rules of webview/webview2_win.h hold here too.
#pragma once

#include "webview/webview2_win.h"

struct ICoreWebView2SourceChangedEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_IsNewDocument(BOOL* value) = 0;
};

struct ICoreWebView2SourceChangedEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2* sender,
                                           ICoreWebView2SourceChangedEventArgs* args) = 0;
};

struct ICoreWebView2ContentLoadingEventArgs : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE get_IsErrorPage(BOOL* value) = 0;
  virtual HRESULT STDMETHODCALLTYPE get_NavigationId(UINT64* value) = 0;
};

struct ICoreWebView2ContentLoadingEventHandler : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Invoke(ICoreWebView2* sender,
                                           ICoreWebView2ContentLoadingEventArgs* args) = 0;
};

namespace wendra {

template <>
inline constexpr GUID kIidOf<ICoreWebView2SourceChangedEventArgs> = {
    0x31e0e545, 0x1dba, 0x4266, {0x89, 0x14, 0xf6, 0x38, 0x48, 0xa1, 0xf7, 0xd7}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2SourceChangedEventHandler> = {
    0x3c067f9f, 0x5388, 0x4772, {0x8b, 0x48, 0x79, 0xf7, 0xef, 0x1a, 0xb3, 0x7c}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2ContentLoadingEventArgs> = {
    0x0c8a1275, 0x9b6b, 0x4901, {0x87, 0xad, 0x70, 0xdf, 0x25, 0xba, 0xfa, 0x6e}};
template <>
inline constexpr GUID kIidOf<ICoreWebView2ContentLoadingEventHandler> = {
    0x364471e7, 0xf2be, 0x4910, {0xbd, 0xba, 0xd7, 0x20, 0x77, 0xd5, 0x1c, 0x4b}};

}  // namespace wendra
