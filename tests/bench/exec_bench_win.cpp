// Measures `exec` of a command that writes 256 MiB, compared with bare readers of the same pipe,
// and the memory that the result takes. Targets: 80 % of a bare reader's speed, and 10 % more
// memory than the output.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bridge/exec_win.h"
#include "win/child_process.h"
#include "win/wide.h"

#include <psapi.h>

namespace wendra {
namespace {

constexpr double kBytesPerMb = 1e6;
constexpr size_t kExecReadBytes = 1 << 20;  // exec reads so many bytes at a time
constexpr size_t kPipeBytes = 4096;         // the pipe holds so many bytes

std::wstring TestChild() {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  return (std::filesystem::path(self).parent_path().parent_path() / L"test_child.exe").wstring();
}

double Seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Reads the output of a command and drops it; gives the number of bytes.
std::uint64_t ReadBare(const std::string& command, size_t bytesAtATime) {
  Child child = StartChild({.commandLine = L"cmd.exe /d /s /c \"" + Widen(command) + L"\""});
  child.input.Reset();
  std::vector<char> buffer(bytesAtATime);
  std::uint64_t total = 0;
  for (DWORD got = 0; ReadFile(child.output.Get(), buffer.data(), static_cast<DWORD>(buffer.size()),
                               &got, nullptr) &&
                      got > 0;) {
    total += got;
  }
  return total;
}

std::uint64_t PeakBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof(counters);
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
  return counters.PeakWorkingSetSize;
}

}  // namespace

int Main(bool isOnce) {
  const std::uint64_t bytes = isOnce ? 1 << 20 : 256 << 20;
  const int rounds = isOnce ? 1 : 5;
  const std::string command = "\"" + Narrow(TestChild()) + "\" out " + std::to_string(bytes);
  const std::uint64_t peakBefore = PeakBytes();
  struct Way {
    const char* name;
    std::function<std::uint64_t()> run;  // gives the number of bytes that came
    double seconds = 1e300;
  };
  Way ways[] = {{"bare reader, 1 MiB at a time", [&] { return ReadBare(command, kExecReadBytes); }},
                {"bare reader, 4 KiB at a time", [&] { return ReadBare(command, kPipeBytes); }},
                {"exec", [&] { return RunCommand("", command).output.size(); }}};
  for (int i = 0; i < rounds; ++i) {
    for (Way& way : ways) {
      std::uint64_t got = 0;
      way.seconds = std::min(way.seconds, Seconds([&] { got = way.run(); }));
      if (got == bytes) continue;
      std::printf("%s: %llu bytes came\n", way.name, static_cast<unsigned long long>(got));
      return 1;
    }
  }
  const double exec = ways[2].seconds;
  for (const Way& way : ways) {
    std::printf("%-30s %6.0f MB/s; exec runs at %.2f of it\n", way.name,
                static_cast<double>(bytes) / kBytesPerMb / way.seconds, way.seconds / exec);
  }
  const double extra = static_cast<double>(PeakBytes() - peakBefore) / static_cast<double>(bytes);
  std::printf("memory at its peak: %.2f of the output (reach: 1.10)\n", extra);
  return 0;
}

}  // namespace wendra

int main(int argc, char** argv) {
  return wendra::Main(argc > 1 && std::strcmp(argv[1], "--once") == 0);
}
