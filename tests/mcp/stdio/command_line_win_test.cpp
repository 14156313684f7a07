#include "mcp/stdio/command_line.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>

#include <gtest/gtest.h>

#include "tests/support/generated_arguments.h"
#include "tests/support/run_child_win.h"
#include "tests/support/scratch_folder_win.h"
#include "win/wide.h"

#include <windows.h>
#include <shellapi.h>

namespace wendra {
namespace {

using Words = std::vector<std::wstring>;

// 2,000 arguments each way; cmd.exe takes lines of 8,191 characters.
constexpr int kRuns = 40;
constexpr int kArgumentsEach = 50;

Words Split(const std::wstring& line) {
  int count = 0;
  wchar_t** words = CommandLineToArgvW(line.c_str(), &count);
  Words split(words, words + count);
  LocalFree(words);
  return split;
}

std::string OutputOf(const std::wstring& line, const std::wstring& folder) {
  return RunToEnd({.commandLine = line, .directory = folder}).output;
}

std::string OneALine(const Words& words) {
  std::string lines;
  for (const auto& word : words) lines += Narrow(word) + "\n";
  return lines;
}

Words GeneratedArguments(std::mt19937& random, int count) {
  Words arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(GeneratedArgument(random));
  return arguments;
}

std::vector<std::string> FilesIn(const std::wstring& folder) {
  std::vector<std::string> names;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    names.push_back(file.path().filename().string());
  }
  return names;
}

TEST(QuoteArgument, IsUndoneByTheSystem) {
  std::mt19937 random(1);
  for (int i = 0; i < 20'000; ++i) {
    const Words arguments = GeneratedArguments(random, 3);
    const auto line = ChildCommandLine(L"C:\\my tools\\a.exe", arguments);
    Words words = Split(*line);
    ASSERT_EQ(words.front(), L"C:\\my tools\\a.exe");
    words.erase(words.begin());
    ASSERT_EQ(words, arguments) << Printable(*line);
  }
}

TEST(ChildCommandLine, BringsArgumentsToAProgram) {
  const ScratchFolder folder;
  std::mt19937 random(2);
  for (int run = 0; run < kRuns; ++run) {
    const Words arguments = GeneratedArguments(random, kArgumentsEach);
    Words words = arguments;
    words.insert(words.begin(), L"args");
    const auto line = ChildCommandLine(BuiltProgram(L"test_child.exe"), words);
    ASSERT_EQ(OutputOf(*line, folder / L"."), OneALine(arguments)) << Printable(*line);
  }
  EXPECT_EQ(FilesIn(folder / L"."), std::vector<std::string>());
}

// Writes a batch file beside a child that prints its arguments.
std::wstring BatchFile(const ScratchFolder& folder, const std::wstring& name, const char* text) {
  const std::filesystem::path tools = folder / L"my tools & more";
  std::filesystem::create_directories(tools);
  std::filesystem::copy_file(BuiltProgram(L"test_child.exe"), tools / L"child.exe",
                             std::filesystem::copy_options::skip_existing);
  std::ofstream(tools / name) << text;
  return (tools / name).wstring();
}

Words ForBatchFiles(Words arguments) {
  for (auto& argument : arguments) {
    argument = WithoutLineBreaks(argument);
    // Wine's cmd.exe expands variables once more where %* stands; the cmd.exe of Windows does not.
    // LetsTheShellExpandNothing tests percent signs on the command line itself.
    std::erase(argument, L'%');
  }
  return arguments;
}

Words WithQuotesInPairs(Words arguments) {
  for (auto& argument : arguments) {
    if (std::ranges::count(argument, L'"') % 2 != 0) argument += L'"';
  }
  return arguments;
}

TEST(ChildCommandLine, BringsArgumentsThroughABatchFile) {
  const ScratchFolder folder;
  std::filesystem::create_directories(folder / L"work");
  const std::wstring script =
      BatchFile(folder, L"passes on.cmd", "@ECHO off\n\"%~dp0\\child.exe\" args %*\n");
  std::mt19937 random(3);
  for (int run = 0; run < kRuns; ++run) {
    const Words arguments = ForBatchFiles(GeneratedArguments(random, kArgumentsEach));
    const auto line = ChildCommandLine(script, arguments);
    ASSERT_TRUE(line);
    ASSERT_EQ(OutputOf(*line, folder / L"work"), OneALine(arguments)) << Printable(*line);
  }
  EXPECT_EQ(FilesIn(folder / L"work"), std::vector<std::string>());
}

// In the shims of older package managers %* stands in a block; other files redirect and chain.
TEST(ChildCommandLine, LeavesTheCommandsBehindTheArgumentsAlone) {
  const ScratchFolder folder;
  std::filesystem::create_directories(folder / L"work");
  const struct {
    std::wstring script;
    std::string after;
  } cases[] = {
      {BatchFile(folder, L"block.cmd",
                 "@ECHO off\nIF EXIST \"%~dp0\\child.exe\" (\n"
                 "  \"%~dp0\\child.exe\"  args %*\n) ELSE (\n  child.exe  args %*\n)\n"),
       ""},
      {BatchFile(folder, L"chain.bat",
                 "@\"%~dp0child.exe\" args %* 2>&1 && \"%~dp0child.exe\" args end\n"),
       "end\n"},
  };
  std::mt19937 random(5);
  for (int run = 0; run < 10; ++run) {
    const Words arguments =
        WithQuotesInPairs(ForBatchFiles(GeneratedArguments(random, kArgumentsEach)));
    for (const auto& c : cases) {
      const auto line = ChildCommandLine(c.script, arguments);
      ASSERT_TRUE(line);
      ASSERT_EQ(OutputOf(*line, folder / L"work"), OneALine(arguments) + c.after)
          << Printable(*line);
    }
  }
  EXPECT_EQ(FilesIn(folder / L"work"), std::vector<std::string>());
}

TEST(ChildCommandLine, LetsTheShellExpandNothing) {
  const ScratchFolder folder;
  const std::wstring script = L"C:\\script.cmd";
  std::mt19937 random(4);
  for (int run = 0; run < kRuns; ++run) {
    Words arguments = GeneratedArguments(random, kArgumentsEach);
    for (auto& argument : arguments) argument = WithoutLineBreaks(argument);
    auto line = ChildCommandLine(script, arguments);
    ASSERT_TRUE(line);
    // The same line with a program in place of the script. The program prints the words as cmd.exe
    // passes them on.
    line->replace(line->find(script), script.size() + 1,
                  BuiltProgram(L"test_child.exe") + L"\" args");
    ASSERT_EQ(OutputOf(*line, folder / L"."), OneALine(arguments)) << Printable(*line);
  }
  EXPECT_EQ(FilesIn(folder / L"."), std::vector<std::string>());
}

}  // namespace
}  // namespace wendra
