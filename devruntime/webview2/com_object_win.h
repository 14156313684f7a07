// COM objects of the stand-in: reference counting, shared references, and out-parameters.
#pragma once

#include <cwchar>
#include <string>
#include <string_view>

#include "webview/webview2_events_win.h"
#include "win/unique.h"
#include "win/wide.h"

#include <windows.h>

#include <objbase.h>

namespace wendra {

// Base of an object that implements `Interface` and nothing else. A new object has one reference,
// which belongs to its maker. The last Release deletes the object, on the calling thread.
template <typename Interface>
class ComObject : public Interface {
 public:
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

 protected:
  ComObject() = default;
  virtual ~ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

 private:
  LONG references_ = 1;
};

// A ComOwner that can be copied, because std::function copies the callables that hold it. Each copy
// has a reference of its own. May be empty.
template <typename Interface>
class ComRef : public ComOwner<Interface> {
 public:
  using ComOwner<Interface>::ComOwner;  // takes over a reference

  ComRef() = default;
  ComRef(const ComRef& other) : ComRef(Share(other.Get())) {}
  ComRef(ComRef&& other) noexcept = default;
  ComRef& operator=(ComRef other) noexcept {
    this->Reset(other.Release());
    return *this;
  }
  ~ComRef() = default;

  // Takes a further reference to `object`, which may be null.
  static ComRef Share(Interface* object) {
    if (object) object->AddRef();
    return ComRef(object);
  }
};

// Copies a text into an out-parameter; the caller frees it with CoTaskMemFree.
inline HRESULT CopyTextTo(std::string_view utf8, LPWSTR* out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  const std::wstring text = Widen(utf8);
  const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
  auto* copy = static_cast<wchar_t*>(CoTaskMemAlloc(bytes));
  if (!copy) return E_OUTOFMEMORY;
  std::wmemcpy(copy, text.c_str(), text.size() + 1);
  *out = copy;
  return S_OK;
}

template <typename T>
HRESULT CopyValueTo(const T& value, T* out) {
  if (!out) return E_POINTER;
  *out = value;
  return S_OK;
}

// The result of a method that the stand-in does not offer. `out` becomes null, so that a caller
// that ignores the result does not use an undefined pointer.
template <typename T>
HRESULT NotOffered(T** out) {
  if (out) *out = nullptr;
  return E_NOTIMPL;
}

}  // namespace wendra
