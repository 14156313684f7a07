// Implements the handler objects that the browser control calls back.
#pragma once

#include <functional>
#include <utility>

#include "webview/webview2_events_win.h"
#include "win/unique.h"

namespace wendra {

template <typename Interface, typename InvokeMethod = decltype(&Interface::Invoke)>
class WendraComImpl;

// A reference-counted object whose `Invoke` calls a callable; without one it does nothing. It
// begins with one reference and deletes itself with the last. The control calls Invoke on the UI
// thread; references may be counted on any thread.
template <typename Interface, typename... Args>
class WendraComImpl<Interface, HRESULT (STDMETHODCALLTYPE Interface::*)(Args...)> final
    : public Interface {
 public:
  using Callable = std::function<void(Args...)>;

  static ComOwner<Interface> Make(Callable callable = {}) {
    return ComOwner<Interface>(new WendraComImpl(std::move(callable)));
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (!object) return E_POINTER;
    if (iid != kIidOf<Interface> && iid != kIidOf<IUnknown>) {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    *object = static_cast<Interface*>(this);
    return S_OK;
  }

  ULONG STDMETHODCALLTYPE AddRef() override {
    return static_cast<ULONG>(InterlockedIncrement(&references_));
  }

  ULONG STDMETHODCALLTYPE Release() override {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }

  // No C++ exception may reach the control. With noexcept such an exception ends the program here,
  // whatever compiler built the control.
  HRESULT STDMETHODCALLTYPE Invoke(Args... args) noexcept override {
    if (callable_) callable_(args...);
    return S_OK;
  }

 private:
  explicit WendraComImpl(Callable callable) : callable_(std::move(callable)) {}
  ~WendraComImpl() = default;

  LONG references_ = 1;
  const Callable callable_;
};

}  // namespace wendra
