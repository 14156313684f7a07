#include "devruntime/failing_calls/import_table_win.h"

#include <cstdint>
#include <cstring>

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

}  // namespace

ULONGLONG* FindImport(const char* name) {
  auto* base = reinterpret_cast<std::uint8_t*>(GetModuleHandleW(nullptr));
  const IMAGE_IMPORT_DESCRIPTOR* library = Imports(base);
  for (; library && library->Name != 0; ++library) {
    if (ULONGLONG* slot = FindSlot(base, *library, name)) return slot;
  }
  return nullptr;
}

bool WriteImport(ULONGLONG* slot, ULONGLONG address) {
  DWORD protection = 0;
  if (!VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection)) return false;
  *slot = address;
  (void)VirtualProtect(slot, sizeof(*slot), protection, &protection);
  return true;
}

}  // namespace wendra
