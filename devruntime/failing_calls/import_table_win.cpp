#include "devruntime/failing_calls/import_table_win.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "base/lock.h"

namespace wendra {
namespace {

const IMAGE_IMPORT_DESCRIPTOR* Imports(const std::uint8_t* base) {
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& directory =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (directory.VirtualAddress == 0) return nullptr;
  return reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
}

ULONGLONG* FindSlot(std::uint8_t* base, const IMAGE_IMPORT_DESCRIPTOR& library,
                    const char* wantedName) {
  if (library.OriginalFirstThunk == 0) return nullptr;  // the table has no names
  const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + library.OriginalFirstThunk);
  auto* slot = reinterpret_cast<IMAGE_THUNK_DATA64*>(base + library.FirstThunk);
  for (; name->u1.AddressOfData != 0; ++name, ++slot) {
    if (IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal)) continue;
    const auto* byName =
        reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
    if (std::strcmp(reinterpret_cast<const char*>(byName->Name), wantedName) == 0) {
      return &slot->u1.Function;
    }
  }
  return nullptr;
}

// The slot of the program's import table that holds the address of the function `name`, from any
// library. Null when the table does not have that name.
ULONGLONG* FindImport(const char* name) {
  auto* base = reinterpret_cast<std::uint8_t*>(GetModuleHandleW(nullptr));
  const IMAGE_IMPORT_DESCRIPTOR* library = Imports(base);
  for (; library && library->Name != 0; ++library) {
    if (ULONGLONG* slot = FindSlot(base, *library, name)) return slot;
  }
  return nullptr;
}

bool WriteSlot(ULONGLONG* slot, void* function) {
  DWORD protection = 0;
  if (!VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection)) return false;
  *slot = reinterpret_cast<ULONGLONG>(function);
  (void)VirtualProtect(slot, sizeof(*slot), protection, &protection);
  return true;
}

struct Replacement {
  void* function;
  void** real;
};

// The functions of delayed libraries that are replaced, and what the program called before to find
// them. Any thread.
class DelayedImports {
 public:
  static DelayedImports& Instance() {
    static auto* const imports = new DelayedImports;  // never destroyed: calls come until the end
    return *imports;
  }

  // The program finds the functions of its delayed libraries with GetProcAddress.
  bool Add(const char* name, const Replacement& replacement) {
    const std::lock_guard<Lock> lock(lock_);
    replacements_.insert_or_assign(name, replacement);
    if (realFind_) return true;
    ULONGLONG* const slot = FindImport("GetProcAddress");
    if (!slot) return false;
    realFind_ = reinterpret_cast<decltype(realFind_)>(*slot);
    return WriteSlot(slot, reinterpret_cast<void*>(&Find));
  }

 private:
  static FARPROC WINAPI Find(HMODULE library, LPCSTR name) {
    DelayedImports& self = Instance();
    const FARPROC found = self.realFind_(library, name);
    if (!found || IS_INTRESOURCE(name)) return found;
    const std::lock_guard<Lock> lock(self.lock_);
    const auto at = self.replacements_.find(name);
    if (at == self.replacements_.end()) return found;
    *at->second.real = reinterpret_cast<void*>(found);
    return reinterpret_cast<FARPROC>(at->second.function);
  }

  Lock lock_;
  std::map<std::string, Replacement, std::less<>> replacements_;
  decltype(&GetProcAddress) realFind_ = nullptr;
};

}  // namespace

bool RedirectImport(const char* name, void* replacement, void** real) {
  ULONGLONG* const slot = FindImport(name);
  if (!slot) return DelayedImports::Instance().Add(name, {replacement, real});
  *real = reinterpret_cast<void*>(*slot);
  return WriteSlot(slot, replacement);
}

}  // namespace wendra
