#include "mcp/stdio/system_win.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>

#include <gtest/gtest.h>

#include "tests/support/run_child_win.h"
#include "tests/support/scratch_folder_win.h"
#include "win/wide.h"

#include <windows.h>

namespace wendra {
namespace {

// Sets a variable of this process, or removes it (null), until the end of the scope.
class ScopedVariable {
 public:
  ScopedVariable(const wchar_t* name, const wchar_t* value)
      : name_(name), before_(SystemEnvironment().Variable(name)) {
    SetEnvironmentVariableW(name, value);
  }
  ~ScopedVariable() { SetEnvironmentVariableW(name_, before_ ? before_->c_str() : nullptr); }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  const wchar_t* name_;
  std::optional<std::wstring> before_;
};

void MakeFile(const std::wstring& path) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(std::filesystem::path(path)) << "x";
}

TEST(SystemEnvironment, GivesWholeValues) {
  const SystemEnvironment environment;
  for (const size_t units : {size_t{0}, size_t{1}, size_t{259}, size_t{260}, size_t{30'000}}) {
    const std::wstring value(units, L'v');
    const ScopedVariable variable(L"WENDRA_TEST_VALUE", value.c_str());
    EXPECT_EQ(environment.Variable(L"WENDRA_TEST_VALUE"), value) << units;
  }
  EXPECT_EQ(environment.Variable(L"WENDRA_TEST_VALUE"), std::nullopt);
}

TEST(SystemEnvironment, ExpandsKnownNames) {
  const ScopedVariable variable(L"WENDRA_TEST_VALUE", L"Käse");
  EXPECT_EQ(SystemEnvironment().Expand(L"%WENDRA_TEST_VALUE%\\%WENDRA_NO_SUCH%"),
            L"Käse\\%WENDRA_NO_SUCH%");
}

TEST(SystemFiles, TellsFilesFromDirectories) {
  const ScratchFolder folder;
  MakeFile(folder / L"Büro\\file");
  const SystemFiles files;
  EXPECT_TRUE(files.IsFile(folder / L"Büro\\file"));
  EXPECT_FALSE(files.IsFile(folder / L"Büro"));
  EXPECT_FALSE(files.IsFile(folder / L"Büro\\none"));
  EXPECT_FALSE(files.IsFile(L""));
}

TEST(SystemFiles, MakesPathsAbsoluteUpTo259Characters) {
  const SystemFiles files;
  EXPECT_EQ(files.FullPath(L"C:\\a\\..\\b/c"), L"C:\\b\\c");
  EXPECT_EQ(files.FullPath(L"x\\y"), (std::filesystem::current_path() / L"x\\y").wstring());
  const std::wstring longest = L"C:\\" + std::wstring(256, L'x');
  EXPECT_EQ(files.FullPath(longest), longest);
  EXPECT_EQ(files.FullPath(longest + L"x"), L"");
}

TEST(ResolveCommandOnSystem, FindsFilesOnTheSearchPath) {
  const ScratchFolder folder;
  MakeFile(folder / L"2\\npx.cmd");
  MakeFile(folder / L"3\\npx.exe");
  MakeFile(folder / L"3\\npx");
  MakeFile(folder / L"3\\Büro.bat");
  std::filesystem::create_directories(folder / L"1\\npx");
  std::filesystem::create_directories(folder / L"1\\npx.exe");
  const std::wstring path = folder / L"none" + L";" + (folder / L"1") + L";" + (folder / L"2") +
                            L";" + (folder / L"3") + L"\\";
  const ScopedVariable searchPath(L"PATH", path.c_str());
  const ScopedVariable extensions(L"PATHEXT", L".exe;.cmd;.bat");
  const ScopedVariable home(L"USERPROFILE", (folder / L"3").c_str());
  const struct {
    std::string command;
    std::wstring want;
  } cases[] = {
      {"npx", folder / L"2\\npx.cmd"},
      {"npx.exe", folder / L"3\\npx.exe"},
      {"Büro", folder / L"3\\Büro.bat"},
      {"~\\npx", folder / L"3\\npx"},
      {"~/../2/npx", folder / L"2\\npx.cmd"},
      {"%USERPROFILE%\\npx.exe", folder / L"3\\npx.exe"},
      {"%USERPROFILE%", L""},
      {"none", L""},
      {"", L""},
      {std::string("npx.exe\0x", 9), folder / L"3\\npx.exe"},  // a name ends at its first NUL
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ResolveCommandOnSystem(c.command), Narrow(c.want)) << c.command;
  }
}

std::vector<std::wstring> Entries(std::wstring_view block) {
  std::vector<std::wstring> entries;
  while (!block.empty() && block.front() != L'\0') {
    entries.emplace_back(block.substr(0, block.find(L'\0')));
    block.remove_prefix(entries.back().size() + 1);
  }
  EXPECT_EQ(block, std::wstring_view(L"\0", 1));
  return entries;
}

TEST(SystemShell, IsInTheFolderOfTheSystem) {
  const std::wstring shell = SystemShell();
  EXPECT_TRUE(SystemFiles().IsFile(shell)) << Narrow(shell);
  EXPECT_TRUE(shell.ends_with(L"\\system32\\cmd.exe")) << Narrow(shell);
}

// Sets a value of cmd.exe's settings in the user's part of the registry until the end of the scope.
class ScopedShellValue {
 public:
  ScopedShellValue(const wchar_t* name, DWORD type, const void* data, DWORD bytes) : name_(name) {
    RegSetKeyValueW(HKEY_CURRENT_USER, kKey, name, type, data, bytes);
  }
  ~ScopedShellValue() { RegDeleteKeyValueW(HKEY_CURRENT_USER, kKey, name_); }
  ScopedShellValue(const ScopedShellValue&) = delete;
  ScopedShellValue& operator=(const ScopedShellValue&) = delete;

 private:
  static constexpr wchar_t kKey[] = L"Software\\Microsoft\\Command Processor";
  const wchar_t* name_;
};

TEST(SystemShellSettings, AreThoseOfTheRegistry) {
  EXPECT_EQ(SystemShellSettings(), ShellSettings::kUsual);
  const struct {
    const wchar_t* name;
    DWORD number;
    const wchar_t* text;
    ShellSettings want;
  } cases[] = {
      {L"DelayedExpansion", 1, L"1", ShellSettings::kSwitched},
      {L"DelayedExpansion", 0, L"0", ShellSettings::kUsual},
      {L"EnableExtensions", 0, L"0", ShellSettings::kSwitched},
      {L"EnableExtensions", 1, L"1", ShellSettings::kUsual},
      {L"Other", 1, L"1", ShellSettings::kUsual},
  };
  for (const auto& c : cases) {
    {
      const ScopedShellValue value(c.name, REG_DWORD, &c.number, sizeof(c.number));
      EXPECT_EQ(SystemShellSettings(), c.want) << Narrow(c.name) << " " << c.number;
    }
    const ScopedShellValue value(c.name, REG_SZ, c.text, 4);
    EXPECT_EQ(SystemShellSettings(), c.want) << Narrow(c.name) << " \"" << Narrow(c.text) << "\"";
  }
}

TEST(ChildEnvironmentBlock, HoldsTheHostsVariablesAndTheServers) {
  const ScopedVariable searchPath(L"Path", L"C:\\tools");
  const ScopedVariable home(L"USERPROFILE", nullptr);
  const ScopedVariable roaming(L"APPDATA", nullptr);
  const ScopedVariable local(L"LOCALAPPDATA", nullptr);
  const ScopedVariable variable(L"wendra_test_value", L"ü");
  const auto entries = Entries(ChildEnvironmentBlock({{"wendra_test_new", "日本"}}));
  const auto holds = [&](const wchar_t* entry) { return std::ranges::count(entries, entry) == 1; };
  EXPECT_TRUE(holds(L"WENDRA_TEST_VALUE=ü"));
  EXPECT_TRUE(holds(L"WENDRA_TEST_NEW=日本"));
  EXPECT_TRUE(
      holds(L"PATH=C:\\tools;C:\\Program Files\\nodejs;C:\\Program Files\\Git\\cmd;"
            L"C:\\Program Files\\Git\\usr\\bin;C:\\ProgramData\\chocolatey\\bin;C:\\tools"));
  std::vector<std::wstring> names;
  for (const auto& entry : entries) names.push_back(entry.substr(0, entry.find(L'=')));
  EXPECT_TRUE(std::ranges::is_sorted(names));
}

TEST(ChildEnvironmentBlock, ReachesTheChild) {
  const ScopedVariable searchPath(L"PATH", L"C:\\windows\\system32");
  const std::wstring block = ChildEnvironmentBlock({{"wendra_a", "1"}, {"WENDRA_B", "x & y = z"}});
  const std::string output =
      RunToEnd({.commandLine = L"cmd.exe /d /c set", .environment = block.c_str()}).output;
  EXPECT_NE(output.find("\r\nWENDRA_A=1\r\n"), output.npos) << output;
  EXPECT_NE(output.find("\r\nWENDRA_B=x & y = z\r\n"), output.npos) << output;
  EXPECT_NE(output.find("C:\\Program Files\\nodejs;"), output.npos) << output;
}

}  // namespace
}  // namespace wendra
