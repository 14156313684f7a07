// Tests a whole process with the DLL: what it prints, and how it ends.
#include <string>

#include <gtest/gtest.h>

#include "devruntime/base/variables_win.h"
#include "devruntime/webview2/settings_win.h"
#include "tests/devruntime/test_control_win.h"
#include "win/unique.h"
#include "win/wide.h"

namespace wendra {
namespace {

std::wstring ProbePath() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  std::wstring folder(path);
  folder.resize(folder.rfind(L'\\'));
  return folder + L"\\..\\runtime_host_probe.exe";
}

struct Ended {
  std::string output;  // the standard output of the probe
  DWORD code = 0;
  bool inTime = false;
};

Ended RunProbe(const std::string& arguments) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  KernelHandle readEnd;
  KernelHandle writeEnd;
  if (!CreatePipe(readEnd.Receive(), writeEnd.Receive(), &inherit, 0)) return {};
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = writeEnd.Get();
  PROCESS_INFORMATION process{};
  std::wstring command = L"\"" + ProbePath() + L"\" " + Widen(arguments);
  if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                      &startup, &process)) {
    return {};
  }
  const KernelHandle processOwner(process.hProcess);
  const KernelHandle threadOwner(process.hThread);
  writeEnd.Reset();
  Ended ended;
  ended.inTime = WaitForSingleObject(process.hProcess, kTestTimeoutMs) == WAIT_OBJECT_0;
  if (!ended.inTime) TerminateProcess(process.hProcess, 1);
  GetExitCodeProcess(process.hProcess, &ended.code);
  char buffer[4096];
  DWORD got = 0;
  while (ReadFile(readEnd.Get(), buffer, sizeof buffer, &got, nullptr) && got > 0) {
    ended.output.append(buffer, got);
  }
  return ended;
}

TEST(DebugTap, WritesEveryLineToStandardOutputAsUtf8) {
  const ScopedVariable log(L"WENDRA_DEV_LOG", L"1");
  EXPECT_EQ(RunProbe("log").output,
            "[Wendra] first \xe2\x80\x94 \xc3\xa4\xc3\xb6\xc3\xbc \xe2\x82\xac\n"
            "[Wendra] \xe6\x97\xa5\xe6\x9c\xac \xf0\x9f\x98\x80\n"
            "[Wendra] last\n");
}

TEST(DebugTap, WorksWithoutABrowser) {
  const ScopedVariable log(L"WENDRA_DEV_LOG", L"1");
  const ScopedVariable none(L"WENDRA_DEV_NO_RUNTIME", L"1");
  EXPECT_NE(RunProbe("log").output.find("[Wendra] last\n"), std::string::npos);
}

TEST(DebugTap, IsSilentUnlessAskedFor) {
  const ScopedVariable log(L"WENDRA_DEV_LOG", L"0");
  EXPECT_EQ(RunProbe("log").output, "");
}

std::string PostingPage() { return PageUrl("<script>chrome.webview.postMessage(1)</script>"); }

TEST(ProcessEnd, WithoutClosingIsQuickAndStillReported) {
  const ScopedVariable file(L"WENDRA_DEV_EVENTS",
                            DevVariable(L"RUNTIME_TEST_SCRATCH") + L"/exit-events");
  const std::wstring path = ReadControlSettings().eventsFile;
  DeleteFileW(path.c_str());
  const Ended ended = RunProbe("leave " + PostingPage());
  EXPECT_TRUE(ended.inTime);
  EXPECT_EQ(ended.code, 0u);
  const std::string events = ReadWholeFile(path);
  EXPECT_NE(events.find(R"({"event":"environment","userDataFolder":"C:\\probe"})"),
            std::string::npos);
  EXPECT_NE(events.find(R"({"event":"closed","hasParent":false})"), std::string::npos) << events;
}

TEST(ProcessEnd, ComesWithAnExceptionThatLeavesAHandler) {
  const Ended ended = RunProbe("throw " + PostingPage());
  EXPECT_TRUE(ended.inTime);
  EXPECT_NE(ended.code, 0u);
}

}  // namespace
}  // namespace wendra
