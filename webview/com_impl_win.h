// The one template behind every handler object that the browser control calls back.
#pragma once

#include <functional>
#include <utility>

#include "webview/webview2_win.h"
#include "win/unique.h"

namespace wendra {

template <typename Interface, typename InvokeMethod = decltype(&Interface::Invoke)>
class WendraComImpl;

// A counted object that hands `Invoke` on to a callable, or ignores it when there is none. Made on
// the heap with one reference; deletes itself with the last one. Called on the UI thread, but the
// count holds on any.
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

  // No C++ exception may cross into the control. One that gets here ends the program, whatever
  // compiler the control was built with.
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
