#include "win/process_policy.h"

#include <string>

#include <windows.h>

#include <delayimp.h>

namespace {

// Called by the compiler's helper at the first call of a delayed library's function, on any thread.
// Gives the library with a reference of its own: when two threads come at once, the helper frees
// one of the two.
FARPROC WINAPI FindDelayedLibrary(unsigned event, DelayLoadInfo* info) {
  if (event != dliNotePreLoadLibrary) return nullptr;  // the helper does the rest
  HMODULE library = LoadLibraryExA(info->szDll, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  // LoadLibrariesBesideProgram has loaded those of the vendors.
  if (!library) (void)GetModuleHandleExA(0, info->szDll, &library);
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(library));
}

}  // namespace

extern "C" {
#ifdef _MSC_VER
const
#endif
    PfnDliHook __pfnDliNotifyHook2 = FindDelayedLibrary;  // NOLINT: the platform's name
}

namespace wendra {

void ApplyProcessPolicy() {
  (void)SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  (void)SetErrorMode(GetErrorMode() | SEM_FAILCRITICALERRORS);
}

const wchar_t* LoadLibrariesBesideProgram(std::initializer_list<const wchar_t*> names) {
  constexpr DWORD kMaxPath = 32'768;  // characters, of any path on Windows
  std::wstring folder(kMaxPath, L'\0');
  folder.resize(GetModuleFileNameW(nullptr, folder.data(), kMaxPath));
  folder.resize(folder.find_last_of(L'\\') + 1);
  for (const wchar_t* name : names) {
    const std::wstring path = folder + name;
    if (!LoadLibraryExW(path.c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32)) return name;
  }
  return nullptr;
}

}  // namespace wendra
