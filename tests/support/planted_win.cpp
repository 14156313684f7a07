// A library under another library's name. Writes that name to the file WENDRA_TEST_PLANTED when a
// process loads it, a line each time.
#include <string>

#include <windows.h>

namespace {

void WriteLine(const std::wstring& file, const std::wstring& text) {
  HANDLE handle = CreateFileW(file.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              nullptr, OPEN_ALWAYS, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return;
  std::string line;
  for (const wchar_t unit : text) line += static_cast<char>(unit);  // the names are ASCII
  line += '\n';
  DWORD written = 0;
  (void)WriteFile(handle, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
  CloseHandle(handle);
}

}  // namespace

// imports_at_start calls it.
extern "C" __declspec(dllexport) DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR, LPDWORD) {
  return 0;
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  wchar_t file[MAX_PATH] = {};
  wchar_t self[MAX_PATH] = {};
  if (GetEnvironmentVariableW(L"WENDRA_TEST_PLANTED", file, MAX_PATH) == 0) return TRUE;
  if (GetModuleFileNameW(module, self, MAX_PATH) == 0) return TRUE;
  const std::wstring path = self;
  WriteLine(file, path.substr(path.find_last_of(L'\\') + 1));
  return TRUE;
}
