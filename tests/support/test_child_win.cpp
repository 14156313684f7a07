// A child process for tests of code that starts children. It does what its arguments say, in their
// order:
//
//   out N        writes N bytes ('x', every 80th a line feed) to standard output
//   err N        writes the same to standard error
//   both N       writes N bytes to each of the two, 1,000 bytes in turn
//   ansi         writes the Windows-1252 bytes E4 F6 FC to standard output
//   bytes HEX    writes these bytes to standard output
//   read         reads standard input to its end and prints the number of bytes
//   echo         copies standard input to standard output until the input ends
//   env NAME     prints the environment variable, or "-" if it is not set, and the current folder
//   args         prints the remaining arguments, one on each line, and does nothing else with them
//   hold NAME    starts a copy of itself and goes on; the copy keeps the standard streams open
//                until the event NAME is set
//   await NAME   waits until the event NAME is set
//   set NAME     sets the event NAME; first waits until another process has created it
//   handles      prints how many handles it has inherited, and how many of them are its streams
//   shut         closes its standard streams
//   pause MS     waits for that many milliseconds
//   keep FILE SHARE NAME    keeps the file open for reading and writing until the event NAME is
//                set; SHARE is "none", or "read" if others may read the file meanwhile
//   occupy FILE SHARE NAME  opens the file like keep and closes it, again and again until the event
//                NAME is set
//   exit N       ends with this exit code
//   crash        ends by an access violation
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "win/unique.h"
#include "win/wide.h"

#include <windows.h>

namespace wendra {
namespace {

void Write(DWORD stream, std::string_view bytes) {
  while (!bytes.empty()) {
    DWORD written = 0;
    const auto wanted = static_cast<DWORD>(std::min<size_t>(bytes.size(), 1 << 20));
    if (!WriteFile(GetStdHandle(stream), bytes.data(), wanted, &written, nullptr)) std::exit(99);
    bytes.remove_prefix(written);
  }
}

std::string Filling(size_t bytes) {
  std::string text(bytes, 'x');
  for (size_t i = 79; i < bytes; i += 80) text[i] = '\n';
  return text;
}

void WriteBoth(size_t bytes) {
  const std::string text = Filling(bytes);
  for (size_t at = 0; at < bytes; at += 1000) {
    Write(STD_OUTPUT_HANDLE, std::string_view(text).substr(at, 1000));
    Write(STD_ERROR_HANDLE, std::string_view(text).substr(at, 1000));
  }
}

void WriteHex(const std::string& hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  }
  Write(STD_OUTPUT_HANDLE, bytes);
}

void ReadInput() {
  char buffer[4096];
  size_t total = 0;
  for (DWORD got = 0;
       ReadFile(GetStdHandle(STD_INPUT_HANDLE), buffer, sizeof(buffer), &got, nullptr) &&
       got > 0;) {
    total += got;
  }
  Write(STD_OUTPUT_HANDLE, "read " + std::to_string(total) + " bytes\n");
}

void EchoInput() {
  char buffer[4096];
  for (DWORD got = 0;
       ReadFile(GetStdHandle(STD_INPUT_HANDLE), buffer, sizeof(buffer), &got, nullptr) &&
       got > 0;) {
    Write(STD_OUTPUT_HANDLE, {buffer, got});
  }
}

void PrintEnvironment(const std::string& name) {
  const wchar_t* value = _wgetenv(Widen(name).c_str());
  wchar_t folder[MAX_PATH];
  GetCurrentDirectoryW(MAX_PATH, folder);
  Write(STD_OUTPUT_HANDLE, (value ? Narrow(value) : "-") + "\n" + Narrow(folder) + "\n");
}

KernelHandle OpenEventNamed(const std::string& name) {
  return KernelHandle(CreateEventW(nullptr, TRUE, FALSE, Widen(name).c_str()));
}

// Waits until another process has created the event. An event of this process alone would be lost
// when this process ends.
void SetEventOfAnother(const std::string& name) {
  KernelHandle event;
  while (!event) {
    event.Reset(OpenEventW(EVENT_MODIFY_STATE, FALSE, Widen(name).c_str()));
    if (!event) Sleep(1);
  }
  SetEvent(event.Get());
}

FileHandle OpenShared(const std::string& file, const std::string& share) {
  return FileHandle(CreateFileW(Widen(file).c_str(), GENERIC_READ | GENERIC_WRITE,
                                share == "read" ? FILE_SHARE_READ : 0, nullptr, OPEN_EXISTING, 0,
                                nullptr));
}

void KeepFile(const std::string& path, const std::string& share, const std::string& name) {
  FileHandle file;
  while (!file) file = OpenShared(path, share);  // another process may have the file open at first
  WaitForSingleObject(OpenEventNamed(name).Get(), INFINITE);
}

void OccupyFile(const std::string& path, const std::string& share, const std::string& name) {
  const KernelHandle end = OpenEventNamed(name);
  while (WaitForSingleObject(end.Get(), 0) != WAIT_OBJECT_0) (void)OpenShared(path, share);
}

void HoldStreams(const std::string& name) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::wstring commandLine = L"\"" + std::wstring(self) + L"\" await " + Widen(name);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(self, commandLine.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                      nullptr, &startup, &process)) {
    std::exit(98);
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
}

// Inherited handles stay inheritable, and this process has made no inheritable handles itself.
void PrintHandles() {
  constexpr std::uintptr_t kMostHandles = 0x4000;
  int inherited = 0;
  int streams = 0;
  for (std::uintptr_t value = 4; value < kMostHandles; value += 4) {
    const auto handle = reinterpret_cast<HANDLE>(value);
    DWORD flags = 0;
    if (!GetHandleInformation(handle, &flags) || !(flags & HANDLE_FLAG_INHERIT)) continue;
    ++inherited;
    for (const DWORD stream : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
      if (GetStdHandle(stream) == handle) ++streams;
    }
  }
  Write(STD_OUTPUT_HANDLE, std::to_string(inherited) + " inherited, " + std::to_string(streams) +
                               " of them standard streams");
}

void CloseStreams() {
  for (const DWORD stream : {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE}) {
    CloseHandle(GetStdHandle(stream));
  }
}

[[noreturn]] void Crash() {
  RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
  std::abort();
}

void Do(const std::vector<std::string>& arguments) {
  size_t next = 0;
  const auto take = [&] { return next < arguments.size() ? arguments[next++] : std::string(); };
  const auto takeNumber = [&] { return static_cast<size_t>(std::stoull(take())); };
  while (next < arguments.size()) {
    const std::string what = take();
    if (what == "out") {
      Write(STD_OUTPUT_HANDLE, Filling(takeNumber()));
    } else if (what == "err") {
      Write(STD_ERROR_HANDLE, Filling(takeNumber()));
    } else if (what == "both") {
      WriteBoth(takeNumber());
    } else if (what == "ansi") {
      Write(STD_OUTPUT_HANDLE, "\xE4\xF6\xFC");
    } else if (what == "bytes") {
      WriteHex(take());
    } else if (what == "read") {
      ReadInput();
    } else if (what == "echo") {
      EchoInput();
    } else if (what == "env") {
      PrintEnvironment(take());
    } else if (what == "args") {
      while (next < arguments.size()) Write(STD_OUTPUT_HANDLE, take() + "\n");
    } else if (what == "hold") {
      HoldStreams(take());
    } else if (what == "await") {
      WaitForSingleObject(OpenEventNamed(take()).Get(), INFINITE);
    } else if (what == "set") {
      SetEventOfAnother(take());
    } else if (what == "handles") {
      PrintHandles();
    } else if (what == "shut") {
      CloseStreams();
    } else if (what == "pause") {
      Sleep(static_cast<DWORD>(takeNumber()));
    } else if (what == "keep" || what == "occupy") {
      const std::string path = take();
      const std::string share = take();
      (what == "keep" ? KeepFile : OccupyFile)(path, share, take());
    } else if (what == "exit") {
      ExitProcess(static_cast<UINT>(takeNumber()));
    } else if (what == "crash") {
      Crash();
    } else {
      Write(STD_ERROR_HANDLE, "test_child: unknown: " + what + "\n");
      ExitProcess(97);
    }
  }
}

}  // namespace
}  // namespace wendra

int wmain(int count, wchar_t** arguments) {
  std::vector<std::string> texts;
  for (int i = 1; i < count; ++i) texts.push_back(wendra::Narrow(arguments[i]));
  wendra::Do(texts);
  return 0;
}
