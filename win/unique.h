// Owns one operating-system object and gives it back exactly once.
// Closing may change GetLastError(): read the error before an owner dies.
#pragma once

#include <utility>

#include <windows.h>
#include <objbase.h>

namespace wendra {

// `Traits` names the raw type, its "none" value and how it is closed.
template <typename Traits>
class Unique {
 public:
  using Raw = typename Traits::Raw;

  Unique() = default;
  explicit Unique(Raw raw) : raw_(raw) {}
  Unique(Unique&& other) noexcept : raw_(other.Release()) {}
  Unique& operator=(Unique&& other) noexcept {
    Reset(other.Release());  // closes what we held; harmless on self-move
    return *this;
  }
  ~Unique() { Reset(); }

  explicit operator bool() const { return raw_ != Traits::Empty(); }
  Raw Get() const { return raw_; }
  Raw operator->() const { return raw_; }  // for pointers; must not be empty
  // For out-parameters: what was held is closed, the callee fills in the new one.
  Raw* Receive() {
    Reset();
    return &raw_;
  }
  [[nodiscard]] Raw Release() { return std::exchange(raw_, Traits::Empty()); }
  void Reset(Raw raw = Traits::Empty()) {
    if (Raw old = std::exchange(raw_, raw); old != Traits::Empty()) Traits::Close(old);
  }

 private:
  Raw raw_ = Traits::Empty();
};

struct KernelTraits {  // processes, threads, pipes: "none" is null
  using Raw = HANDLE;
  static Raw Empty() { return nullptr; }
  static void Close(Raw handle) { CloseHandle(handle); }
};
struct FileTraits : KernelTraits {  // CreateFileW: "none" is INVALID_HANDLE_VALUE
  static Raw Empty() { return INVALID_HANDLE_VALUE; }
};
using KernelHandle = Unique<KernelTraits>;
using FileHandle = Unique<FileTraits>;

struct FontTraits {
  using Raw = HFONT;
  static Raw Empty() { return nullptr; }
  static void Close(Raw font) { DeleteObject(font); }
};
using Font = Unique<FontTraits>;

struct AcceleratorTraits {
  using Raw = HACCEL;
  static Raw Empty() { return nullptr; }
  static void Close(Raw table) { DestroyAcceleratorTable(table); }
};
using AcceleratorTable = Unique<AcceleratorTraits>;

struct TaskTextTraits {  // text that a COM method hands out
  using Raw = LPWSTR;
  static Raw Empty() { return nullptr; }
  static void Close(Raw text) { CoTaskMemFree(text); }
};
using TaskText = Unique<TaskTextTraits>;

template <typename Interface>
struct ComTraits {  // one counted reference
  using Raw = Interface*;
  static Raw Empty() { return nullptr; }
  static void Close(Raw object) { object->Release(); }
};
template <typename Interface>
using ComOwner = Unique<ComTraits<Interface>>;

}  // namespace wendra
