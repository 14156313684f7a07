#include <string>

#include <gtest/gtest.h>

#include "tests/runtime/test_control_win.h"
#include "win/unique.h"

namespace wendra {
namespace {

std::wstring ProbePath() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring folder(path);
  folder.resize(folder.rfind(L'\\'));
  return folder + L"\\..\\runtime_tap_probe.exe";
}

// What the probe writes to its standard output.
std::string RunProbe() {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  KernelHandle readEnd;
  KernelHandle writeEnd;
  if (!CreatePipe(readEnd.Receive(), writeEnd.Receive(), &inherit, 0)) return "no pipe";
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = writeEnd.Get();
  PROCESS_INFORMATION process{};
  std::wstring command = L"\"" + ProbePath() + L"\"";
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                      &startup, &process)) {
    return "no probe";
  }
  const KernelHandle processOwner(process.hProcess);
  const KernelHandle threadOwner(process.hThread);
  writeEnd.Reset();
  std::string output;
  char buffer[4096];
  DWORD got = 0;
  while (ReadFile(readEnd.Get(), buffer, sizeof buffer, &got, nullptr) && got > 0) {
    output.append(buffer, got);
  }
  return output;
}

TEST(DebugTap, WritesEveryLineToStandardOutputAsUtf8) {
  const ScopedVariable log(L"WENDRA_DEV_LOG", L"1");
  EXPECT_EQ(RunProbe(),
            "[Wendra] first \xe2\x80\x94 \xc3\xa4\xc3\xb6\xc3\xbc \xe2\x82\xac\n"
            "[Wendra] \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x98\x80\n"
            "[Wendra] last\n");
}

TEST(DebugTap, WorksWithoutABrowser) {
  const ScopedVariable log(L"WENDRA_DEV_LOG", L"1");
  const ScopedVariable none(L"WENDRA_DEV_NO_RUNTIME", L"1");
  EXPECT_NE(RunProbe().find("[Wendra] last\n"), std::string::npos);
}

TEST(DebugTap, IsSilentUnlessAskedFor) {
  const ScopedVariable log(L"WENDRA_DEV_LOG", L"0");
  EXPECT_EQ(RunProbe(), "");
}

}  // namespace
}  // namespace wendra
