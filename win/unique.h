// Owns one object of the operating system and closes it exactly once.
// Closing may change GetLastError(): read the error before an owner is destroyed.
#pragma once

#include <utility>

#include <windows.h>
#include <objbase.h>

namespace wendra {

// `Traits` names the raw type, the raw value that means "none", and the function that closes one.
template <typename Traits>
class Unique {
 public:
  using Raw = typename Traits::Raw;

  Unique() = default;
  explicit Unique(Raw raw) : raw_(raw) {}
  Unique(Unique&& other) noexcept : raw_(other.Release()) {}
  Unique& operator=(Unique&& other) noexcept {
    Reset(other.Release());  // closes the old object; a move onto itself changes nothing
    return *this;
  }
  ~Unique() { Reset(); }

  explicit operator bool() const { return raw_ != Traits::Empty(); }
  Raw Get() const { return raw_; }
  Raw operator->() const { return raw_; }  // for pointers; not for an empty owner
  // For out-parameters: closes the object that is held. The called function then stores a new one.
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

struct KernelTraits {  // processes, threads, pipes, events, jobs: "none" is null
  using Raw = HANDLE;
  static Raw Empty() { return nullptr; }
  static void Close(Raw handle) { CloseHandle(handle); }
};
struct FileTraits : KernelTraits {  // files of CreateFileW: "none" is INVALID_HANDLE_VALUE
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

struct TaskTextTraits {  // text that a COM method returns and the caller frees
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
