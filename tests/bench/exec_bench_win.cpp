// A command that writes 256 MiB: exec beside a bare reader of the same pipe, and the memory that
// the result costs beside its size. The reach: 80 % of the bare reader, 10 % more than the output.
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

// Throws the bytes away, in pieces of the size that exec reads.
std::uint64_t ReadBare(const std::string& command) {
  Child child = StartChild({.commandLine = L"cmd.exe /d /s /c \"" + Widen(command) + L"\""});
  child.input.Reset();
  std::vector<char> buffer(4096);
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
  const int rounds = isOnce ? 1 : 3;
  const std::string command = "\"" + Narrow(TestChild()) + "\" out " + std::to_string(bytes);
  const std::uint64_t peakBefore = PeakBytes();
  double bare = 1e300;
  double exec = 1e300;
  for (int i = 0; i < rounds; ++i) {
    std::uint64_t got = 0;
    bare = std::min(bare, Seconds([&] { got = ReadBare(command); }));
    if (got != bytes) return 1;
    ExecResult result;
    exec = std::min(exec, Seconds([&] { result = RunCommand("", command); }));
    if (result.exitCode != 0 || result.output.size() != bytes) return 1;
  }
  const double mb = static_cast<double>(bytes) / kBytesPerMb;
  const double extra = static_cast<double>(PeakBytes() - peakBefore) / static_cast<double>(bytes);
  std::printf("bare reader %6.0f MB/s, exec %6.0f MB/s: %.2f of it (reach: 0.80)\n", mb / bare,
              mb / exec, bare / exec);
  std::printf("memory at its peak: %.2f of the output (reach: 1.10)\n", extra);
  return 0;
}

}  // namespace wendra

int main(int argc, char** argv) {
  return wendra::Main(argc > 1 && std::strcmp(argv[1], "--once") == 0);
}
