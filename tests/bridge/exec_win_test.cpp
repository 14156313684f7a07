#include "bridge/exec_win.h"

#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/patience.h"
#include "tests/support/recording_page.h"
#include "tests/support/scratch_folder_win.h"
#include "tests/support/test_window_win.h"
#include "win/child_process.h"
#include "win/environment.h"
#include "win/messages.h"
#include "win/owned_message.h"
#include "win/unique.h"
#include "win/wide.h"

namespace wendra {
namespace {

constexpr DWORD kManyPatienceMs = 120'000;  // for many commands at once

// The quoted path of a program of the build and a space. The programs are one folder above the
// tests.
std::string ChildProgram(const wchar_t* name) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  const auto folder = std::filesystem::path(self).parent_path().parent_path();
  return "\"" + Narrow((folder / name).wstring()) + "\" ";
}

std::string TestChild() { return ChildProgram(L"test_child.exe"); }

// The text that test_child writes for `out` and `both`.
std::string Filling(size_t bytes) {
  std::string text(bytes, 'x');
  for (size_t i = 79; i < bytes; i += 80) text[i] = '\n';
  return text;
}

TEST(RunCommand, GivesExitCodeAndBothStreams) {
  const std::string child = TestChild();
  const struct {
    std::string command;
    std::int32_t exitCode;
    std::string output, error;
  } cases[] = {
      {"echo hi", 0, "hi\r\n", ""},
      {child + "out 5 err 3 exit 7", 7, "xxxxx", "xxx"},
      {child + "exit 2147483647", 2147483647, "", ""},
      {child + "exit 4294967295", -1, "", ""},
      {child + "read", 0, "read 0 bytes\n", ""},  // the command's input ends at once
      {child + "args \"two words\" \"a&b\" %COMSPEC:~0,2%", 0, "two words\na&b\nC:\n", ""},
      {child + "out 3 | " + child + "read", 0, "read 3 bytes\n", ""},
      {child + "out 2 && " + child + "err 2", 0, "xx", "xx"},
      {child + "err 2 2>&1", 0, "xx", ""},
  };
  for (const auto& c : cases) {
    const ExecResult result = RunCommand("", c.command);
    EXPECT_EQ(result.exitCode, c.exitCode) << c.command;
    EXPECT_EQ(result.output, c.output) << c.command;
    EXPECT_EQ(result.error, c.error) << c.command;
  }
}

TEST(RunCommand, ReportsACrashAsANegativeCode) {
  // The shell ends with the exit code of its last command.
  EXPECT_EQ(RunCommand("", TestChild() + "crash").exitCode, static_cast<std::int32_t>(0xC0000005));
}

TEST(RunCommand, RunsInTheFolder) {
  ScratchFolder folder;
  std::filesystem::create_directories(folder / L"mit Leer ü");
  const std::string path = Narrow(folder / L"mit Leer ü");
  EXPECT_EQ(RunCommand(path, TestChild() + "out 4 > made.txt").exitCode, 0);
  EXPECT_EQ(std::filesystem::file_size(folder / L"mit Leer ü\\made.txt"), 4u);
}

TEST(RunCommand, GivesTheCommandLineThatCouldNotBeStarted) {
  const ExecResult result = RunCommand("C:\\no\\such\\folder", "echo \"ü\"");
  EXPECT_EQ(result.exitCode, -1);
  EXPECT_EQ(result.output, "");
  wchar_t shell[MAX_PATH];
  GetEnvironmentVariableW(L"COMSPEC", shell, MAX_PATH);
  EXPECT_EQ(result.error, Narrow(shell) + " /d /s /c \"echo \"ü\"\"");
}

TEST(RunCommand, ReadsMuchOutputOnBothStreamsAtOnce) {
  constexpr size_t kBytes = 10u << 20;
  const ExecResult result =
      RunCommand("", TestChild() + "both " + std::to_string(kBytes) + " exit 3");
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_TRUE(result.output == Filling(kBytes));
  EXPECT_TRUE(result.error == Filling(kBytes));
}

TEST(RunCommand, ConvertsOutputInTheAnsiCodePageToUtf8) {
  const struct {
    std::string command, output;
  } cases[] = {
      {"ansi", "äöü"},
      {"bytes C3A4C3B6C3BC", "äöü"},  // UTF-8 already
      {"bytes C3A4E4", "Ã¤ä"},        // not all of it is UTF-8, so all of it counts as ANSI text
      {"bytes 80", "€"},
      {"bytes EDA080", "\xED\xA0\x80"},  // a surrogate counts as well-formed
      {"bytes C080", "À€"},              // overlong, so not well-formed
      {"bytes 410042", std::string("A\0B", 3)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(RunCommand("", TestChild() + c.command).output, c.output) << c.command;
  }
}

TEST(RunCommand, WaitsUntilNoProcessHoldsTheStreams) {
  // The command itself ends at once; a process that it has started keeps its output open.
  const std::string name = "wendra-test-" + std::to_string(GetCurrentProcessId());
  const KernelHandle event(CreateEventW(nullptr, TRUE, FALSE, Widen(name).c_str()));
  const std::string endName = name + "-end";
  const KernelHandle end(CreateEventW(nullptr, TRUE, FALSE, Widen(endName).c_str()));
  ExecResult result;
  std::atomic<bool> isAnswered = false;
  std::thread command([&] {
    result = RunCommand("", TestChild() + "out 2 hold " + name + " set " + endName + " exit 5");
    isAnswered = true;
  });
  EXPECT_EQ(WaitForSingleObject(end.Get(), kPatienceMs), WAIT_OBJECT_0) << "no end of the command";
  EXPECT_FALSE(isAnswered);
  SetEvent(event.Get());
  command.join();
  EXPECT_EQ(result.exitCode, 5);
  EXPECT_EQ(result.output, "xx");
}

TEST(RunCommand, GivesTheExitCodeOfACommandThatClosesItsStreamsEarly) {
  // The child runs in place of the shell, because the shell would hold the streams to its end. The
  // arguments that RunCommand adds come after "exit 7", so the child does not read them.
  const std::wstring shell = EnvironmentText(L"COMSPEC");
  const std::string slow = ChildProgram(L"windowed_child.exe") + "out 2 shut pause 300 exit 7";
  SetEnvironmentVariableW(L"COMSPEC", Widen(slow).c_str());
  const ExecResult result = RunCommand("", "nothing");
  SetEnvironmentVariableW(L"COMSPEC", shell.c_str());
  EXPECT_EQ(result.exitCode, 7);
  EXPECT_EQ(result.output, "xx");
}

// Some children go on running. If such a child had inherited the pipes of a command, the command's
// streams would stay open and RunCommand would never return.
TEST(RunCommand, ReturnsForEveryCommandWhenManyChildrenStartAtOnce) {
  constexpr int kThreads = 8;
  constexpr int kCommands = 63;  // for each thread: 504 in total
  constexpr int kLivingOn = 60;  // children that go on running
  const std::string name = "wendra-test-many-" + std::to_string(GetCurrentProcessId());
  const KernelHandle event(CreateEventW(nullptr, TRUE, FALSE, Widen(name).c_str()));
  std::atomic<int> started = 0;
  std::vector<Child> livingOn(kLivingOn);
  std::thread starter([&] {
    for (Child& child : livingOn) {
      child = StartChild({.commandLine = Widen(TestChild() + "await " + name)});
      started += child.start == ChildStart::kStarted;
    }
  });
  std::vector<std::thread> threads;
  std::atomic<int> right = 0;
  std::atomic<int> unended = kThreads;
  const KernelHandle allEnded(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kCommands; ++i) {
        const int code = t * 10 + i % 10;  // never 259, which cmd.exe takes for "still running"
        const ExecResult result =
            RunCommand("", TestChild() + "out 10 exit " + std::to_string(code));
        const bool isRight = result.exitCode == code && result.output == Filling(10);
        EXPECT_TRUE(isRight) << result.exitCode << " for " << code << ": " << result.output << "|"
                             << result.error;
        right += isRight;
      }
      if (--unended == 0) SetEvent(allEnded.Get());
    });
  }
  starter.join();
  EXPECT_EQ(started, kLivingOn);
  EXPECT_EQ(WaitForSingleObject(allEnded.Get(), kManyPatienceMs), WAIT_OBJECT_0)
      << unended << " threads have a command that does not end";
  SetEvent(event.Get());  // ends the other children, so that no command waits for their streams
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(right, kThreads * kCommands);
}

TEST(ExecAction, PostsItsResultAndRepliesFromTheMessageLoop) {
  RecordingPage page;
  Replies replies(page);
  const TestWindow window([&](UINT message, WPARAM, LPARAM lparam) {
    if (message == kExecDoneMessage) ReplyExec(std::move(*TakeOwned<ExecResult>(lparam)), replies);
  });
  const Action exec = ExecAction(replies, [&] { return window.Handle(); });
  EXPECT_EQ(exec.name, "exec");
  Json args;
  ASSERT_TRUE(Parse("[\"\",\"echo \\\"a\\\" & exit 4\"]", args));
  exec.run("r9", args);
  EXPECT_TRUE(page.scripts.empty());  // the reply comes only from the message loop
  ASSERT_TRUE(TestWindow::PumpUntil([&] { return !page.scripts.empty(); })) << "no reply";
  EXPECT_NE(page.scripts[0].find("__resolve('r9', 1, {\"exit\":4,\"stdout\":\"\\\"a\\\" \\r\\n\","
                                 "\"stderr\":\"\"}) : 0;"),
            std::string::npos)
      << page.scripts[0];
}

TEST(ExecAction, SaysWhatItExpects) {
  RecordingPage page;
  Replies replies(page);
  const Action exec = ExecAction(replies, [] { return HWND(); });
  for (const char* text : {"[]", "[\"C:\\\\\"]", "[\"\",\"\"]", "[\"\",5]", "null"}) {
    Json args;
    ASSERT_TRUE(Parse(text, args));
    page.scripts.clear();
    exec.run("r", args);
    ASSERT_EQ(page.scripts.size(), 1u);
    EXPECT_NE(page.scripts[0].find("__resolve('r', 0, \"exec expects [dir, command]\") : 0;"),
              std::string::npos);
  }
}

}  // namespace
}  // namespace wendra
