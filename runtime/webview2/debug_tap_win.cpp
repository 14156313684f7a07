#include "runtime/webview2/debug_tap_win.h"

#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>

#include <windows.h>

#include "runtime/webview2/handler_timings_win.h"
#include "runtime/webview2/settings_win.h"
#include "win/wide.h"

namespace wendra {
namespace {

using OutputFunction = void(WINAPI*)(LPCWSTR);

constexpr char kFunctionName[] = "OutputDebugStringW";

// The import table has room for a function's address and nothing else, so the replacement finds its
// two companions here.
OutputFunction realOutput = nullptr;
std::mutex* outputMutex = nullptr;  // never freed: lines may come to the very end of the process

void WriteLine(const std::string& line) {
  const std::lock_guard lock(*outputMutex);  // a long line is not one write further down
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written,
            nullptr);
}

void WINAPI TappedOutput(LPCWSTR text) {
  const HandlerTimings::DebuggerOutput timing;
  const DWORD error = GetLastError();  // the real function keeps it, and so must this one
  if (text) WriteLine(Narrow(text));
  SetLastError(error);
  realOutput(text);
}

const IMAGE_IMPORT_DESCRIPTOR* Imports(const std::uint8_t* base) {
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& directory =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  if (directory.VirtualAddress == 0) return nullptr;
  return reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
}

// The slot of the address table that holds the function, among the imports from one library.
IMAGE_THUNK_DATA64* FindSlot(std::uint8_t* base, const IMAGE_IMPORT_DESCRIPTOR& library) {
  if (library.OriginalFirstThunk == 0) return nullptr;  // no names left to search
  const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA64*>(base + library.OriginalFirstThunk);
  auto* slot = reinterpret_cast<IMAGE_THUNK_DATA64*>(base + library.FirstThunk);
  for (; name->u1.AddressOfData != 0; ++name, ++slot) {
    if (IMAGE_SNAP_BY_ORDINAL64(name->u1.Ordinal)) continue;
    const auto* byName =
        reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
    if (std::strcmp(reinterpret_cast<const char*>(byName->Name), kFunctionName) == 0) return slot;
  }
  return nullptr;
}

IMAGE_THUNK_DATA64* FindSlotOfProgram() {
  auto* base = reinterpret_cast<std::uint8_t*>(GetModuleHandleW(nullptr));
  const IMAGE_IMPORT_DESCRIPTOR* library = Imports(base);
  for (; library && library->Name != 0; ++library)
    if (IMAGE_THUNK_DATA64* slot = FindSlot(base, *library)) return slot;
  return nullptr;
}

void Redirect(IMAGE_THUNK_DATA64& slot) {
  DWORD protection = 0;
  if (!VirtualProtect(&slot, sizeof slot, PAGE_READWRITE, &protection)) return;
  realOutput = reinterpret_cast<OutputFunction>(slot.u1.Function);
  slot.u1.Function = reinterpret_cast<ULONGLONG>(&TappedOutput);
  VirtualProtect(&slot, sizeof slot, protection, &protection);
}

}  // namespace

void InstallDebugTap() {
  if (realOutput || DevVariable(L"WENDRA_DEV_LOG") != L"1") return;
  IMAGE_THUNK_DATA64* slot = FindSlotOfProgram();
  if (!slot) return;
  outputMutex = new std::mutex;
  Redirect(*slot);
}

}  // namespace wendra
