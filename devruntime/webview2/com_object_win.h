// Reference counting for objects that implement one COM interface, and a pointer that shares them.
#pragma once

#include <cwchar>
#include <string_view>
#include <utility>

#include <windows.h>
#include <objbase.h>

#include "webview/webview2_win.h"
#include "win/wide.h"

namespace wendra {

// Base of an object that implements `Interface` and nothing else. It starts with one reference,
// which belongs to whoever made it, and deletes itself at the last Release, on that thread.
template <typename Interface>
class ComObject : public Interface {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
    if (!object) return E_POINTER;
    if (riid == kIidOf<IUnknown> || riid == kIidOf<Interface>) {
      *object = static_cast<Interface*>(this);
      AddRef();
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
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

// One shared reference; copies share. May be null.
template <typename T>
class ComRef {
 public:
  ComRef() = default;
  explicit ComRef(T* object) : object_(object) {  // takes a further reference
    if (object_) object_->AddRef();
  }
  static ComRef Adopt(T* object) {  // takes over the maker's reference
    ComRef ref;
    ref.object_ = object;
    return ref;
  }
  ComRef(const ComRef& other) : ComRef(other.object_) {}
  ComRef(ComRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  ComRef& operator=(ComRef other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~ComRef() {
    if (object_) object_->Release();
  }

  explicit operator bool() const { return object_ != nullptr; }
  T* Get() const { return object_; }
  T* operator->() const { return object_; }

  // For an [out] parameter: null or a further reference.
  HRESULT CopyTo(T** out) const {
    if (!out) return E_POINTER;
    if (object_) object_->AddRef();
    *out = object_;
    return S_OK;
  }

 private:
  T* object_ = nullptr;
};

// Text for an [out] parameter, which the caller frees.
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

}  // namespace wendra
