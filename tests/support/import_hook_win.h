// Replaces a function that this program imports from a DLL.
#pragma once

#include <cstdint>

#include <windows.h>

namespace wendra {

// From now on, calls of the function `name` of `library` in this program go to `replacement`.
// Returns the real function; null if the program does not import it. No other thread may run
// meanwhile.
template <typename Function>
Function HookImport(const char* name, Function replacement,
                    const wchar_t* library = L"kernel32.dll") {
  auto* base = reinterpret_cast<std::uint8_t*>(GetModuleHandleW(nullptr));
  const auto* dos = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
  const auto* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const auto& imports = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  const auto* module = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + imports.VirtualAddress);
  const auto real = reinterpret_cast<ULONGLONG>(GetProcAddress(GetModuleHandleW(library), name));
  for (; module->Name != 0; ++module) {
    auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + module->FirstThunk);
    for (; slot->u1.Function != 0; ++slot) {
      if (slot->u1.Function != real) continue;
      DWORD protection = 0;
      if (!VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection)) return nullptr;
      slot->u1.Function = reinterpret_cast<ULONGLONG>(replacement);
      (void)VirtualProtect(slot, sizeof(*slot), protection, &protection);
      return reinterpret_cast<Function>(real);
    }
  }
  return nullptr;
}

}  // namespace wendra
