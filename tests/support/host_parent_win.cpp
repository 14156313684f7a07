// Starts wendra.exe from its own folder, with its own arguments and streams, and runs until it is
// killed, even after the host has ended. Tests use it to see what the host leaves behind:
// tools/launch ends the remaining processes only when the program that it started has ended, and
// that is this program.
//
// Exit code 1: the host could not be started.
#include <filesystem>
#include <string>

#include "win/unique.h"

#include <windows.h>

namespace {

std::wstring HostBeside() {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  return (std::filesystem::path(self).parent_path() / L"wendra.exe").wstring();
}

}  // namespace

// `arguments` is the command line as it was written; the host gets it unchanged.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR arguments, int) {
  const std::wstring host = HostBeside();
  std::wstring commandLine = L"\"" + host + L"\" " + arguments;
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(host.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                      &startup, &process)) {
    return 1;
  }
  const wendra::KernelHandle thread(process.hThread);
  const wendra::KernelHandle running(process.hProcess);
  Sleep(INFINITE);
  return 0;
}
