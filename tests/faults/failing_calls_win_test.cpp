#include "devruntime/failing_calls/failing_calls_win.h"

#include <optional>

#include <gtest/gtest.h>

#include "config/config_file_win.h"
#include "config/prompt/window_win.h"
#include "mcp/stdio/system_win.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/recording_log.h"
#include "tests/support/run_child_win.h"
#include "tests/support/scratch_folder_win.h"
#include "win/environment.h"
#include "win/file.h"

namespace wendra {
namespace {

using Calls = std::vector<std::string>;

TEST(FailingCalls, FailLikeTheSystemUntilTheEndOfTheScope) {
  SetLastError(ERROR_SUCCESS);
  {
    const FailingCalls failing("CreateFileW/none.txt:2=112");
    EXPECT_FALSE(OpenForReading(L"C:\\none.txt"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_FALSE(OpenForReading(L"C:\\none.txt"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DISK_FULL});
    EXPECT_EQ(failing.Made(), Calls{"CreateFileW/C:\\none.txt"});
  }
  EXPECT_FALSE(OpenForReading(L"C:\\none.txt"));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

// Counts exactly: in the whole program, other code opens and closes handles at the same time.
TEST(StartChild, KeepsNoHandleWhereAnythingFails) {
  const ChildRequest request{.commandLine = L"\"" + BuiltProgram(L"test_child.exe") + L"\" exit 0"};
  (void)RunToEnd(request);  // opens the handles that are opened once and kept
  for (const char* plan : {"CreatePipe:1", "CreatePipe:2", "CreatePipe:3", "CreateProcessW"}) {
    const long long before = CountHandles(GetCurrentProcessId());
    {
      const FailingCalls failing(plan);
      const Child child = StartChild(request);
      EXPECT_NE(child.start, ChildStart::kStarted) << plan;
      EXPECT_FALSE(child.process || child.input || child.output || child.error) << plan;
      EXPECT_FALSE(failing.Made().empty()) << plan;
    }
    EXPECT_EQ(CountHandles(GetCurrentProcessId()), before) << plan;
    EXPECT_EQ(RunToEnd(request).exitCode, 0u) << plan;
  }
}

TEST(ConfigFilePath, TakesTheVariableWhereThereIsNoKnownFolder) {
  const std::wstring profile = EnvironmentText(L"USERPROFILE");
  SetEnvironmentVariableW(L"USERPROFILE", L"D:\\elsewhere");
  {
    const FailingCalls failing("SHGetKnownFolderPath");
    EXPECT_EQ(ConfigFilePath(), L"D:\\elsewhere\\.config\\wendra\\config.json");
  }
  SetEnvironmentVariableW(L"USERPROFILE", nullptr);
  {
    const FailingCalls failing("SHGetKnownFolderPath");
    EXPECT_EQ(ConfigFilePath(), L"\\.config\\wendra\\config.json");
  }
  SetEnvironmentVariableW(L"USERPROFILE", profile.c_str());
}

// A write succeeds as a whole or not at all. The remains of a failed write do not hinder the next.
TEST(WriteConfigAtomically, LeavesTheOldTextWhereAnythingFails) {
  ScratchFolder folder;
  RecordingLog log;
  ConfigFile config(folder / L"config.json", log);
  ASSERT_TRUE(config.WriteConfigAtomically("old"));
  for (const char* plan : {"WriteFile", "WriteFile.short", "MoveFileExW", "CreateFileW=5"}) {
    {
      const FailingCalls failing(plan);
      (void)config.WriteConfigAtomically("new text");
      EXPECT_FALSE(failing.Made().empty()) << plan;
    }
    EXPECT_EQ(config.ReadConfigText(), "old") << plan;
  }
  ASSERT_TRUE(config.WriteConfigAtomically("new text"));
  EXPECT_EQ(config.ReadConfigText(), "new text");
}

TEST(ChildEnvironmentBlock, HoldsThePathEvenWithoutTheHostsVariables) {
  const FailingCalls failing("GetEnvironmentStringsW");
  const std::wstring block = ChildEnvironmentBlock({{"a", "1"}});
  EXPECT_TRUE(block.starts_with(std::wstring(L"A=1\0PATH=", 9))) << Narrow(block);
  EXPECT_TRUE(block.ends_with(std::wstring(L"C:\\Windows\\System32\0\0", 21))) << Narrow(block);
}

TEST(SystemFiles, HasNoFullPathWhereTheSystemGivesNone) {
  const FailingCalls failing("GetFullPathNameW GetFileAttributesW");
  EXPECT_EQ(SystemFiles().FullPath(L"a"), L"");
  EXPECT_FALSE(SystemFiles().IsFile(L"C:\\windows\\system32\\cmd.exe"));
}

TEST(PromptWindow, HasARoundedRegionWhereTheManagerRoundsNoCorners) {
  for (const bool isRounded : {true, false}) {
    const FailingCalls failing(isRounded ? "" : "DwmSetWindowAttribute");
    const PromptWindow prompt(GetModuleHandleW(nullptr));
    const HRGN region = CreateRectRgn(0, 0, 0, 0);
    EXPECT_EQ(GetWindowRgn(prompt.Handle(), region), isRounded ? ERROR : COMPLEXREGION);
    EXPECT_EQ(PtInRegion(region, 0, 0), FALSE);
    DeleteObject(region);
  }
}

}  // namespace
}  // namespace wendra
