#include "mcp/stdio/search_path.h"

#include <gtest/gtest.h>

#include "tests/support/fake_system.h"

namespace wendra {
namespace {

using List = std::vector<std::wstring>;

const List kAbsolute = {L"C:\\Program Files\\nodejs", L"C:\\Program Files\\Git\\cmd",
                        L"C:\\Program Files\\Git\\usr\\bin", L"C:\\ProgramData\\chocolatey\\bin"};

List Followed(List first, const List& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

TEST(SearchDirectories, AddsTheWellKnownPlacesBehindThePath) {
  const FakeEnvironment environment({{L"PATH", L"C:\\Windows;D:\\tools\\"},
                                     {L"USERPROFILE", L"C:\\u"},
                                     {L"APPDATA", L"C:\\u\\roaming"},
                                     {L"LOCALAPPDATA", L"C:\\u\\local"}});
  EXPECT_EQ(SearchDirectories(environment),
            Followed({L"C:\\Windows", L"D:\\tools\\", L"C:\\u\\.bun\\bin", L"C:\\u\\.cargo\\bin",
                      L"C:\\u\\.volta\\bin", L"C:\\u\\.local\\bin", L"C:\\u\\scoop\\shims",
                      L"C:\\u\\roaming\\npm", L"C:\\u\\local\\Microsoft\\WinGet\\Links",
                      L"C:\\u\\local\\Programs\\nodejs"},
                     kAbsolute));
}

TEST(SearchDirectories, SplitsThePathAsItStands) {
  const struct {
    const char* why;
    std::wstring path;
    List want;
  } cases[] = {
      {"one", L"C:\\a", {L"C:\\a"}},
      {"order", L"C:\\b;C:\\a", {L"C:\\b", L"C:\\a"}},
      {"empty entries", L";C:\\a;;C:\\b;", {L"C:\\a", L"C:\\b"}},
      {"not trimmed", L" C:\\a ; ", {L" C:\\a ", L" "}},
      {"not unquoted", L"\"C:\\a;b\"", {L"\"C:\\a", L"b\""}},
      {"not expanded", L"%SystemRoot%;C:\\a", {L"%SystemRoot%", L"C:\\a"}},
      {"twice", L"C:\\a;C:\\b;C:\\a", {L"C:\\a", L"C:\\b"}},
      {"another letter case", L"C:\\a;c:\\A;C:\\a\\", {L"C:\\a", L"c:\\A", L"C:\\a\\"}},
      {"empty", L"", {}},
      {"one character counts as unset", L"a", {}},
      {"two characters", L"a;", {L"a"}},
      {"separators only", L";;;", {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(SearchDirectories(FakeEnvironment({{L"PATH", c.path}})), Followed(c.want, kAbsolute))
        << c.why;
  }
  EXPECT_EQ(SearchDirectories(FakeEnvironment()), kAbsolute);
}

TEST(SearchDirectories, TakesLongPaths) {
  std::wstring path;
  List want;
  for (int i = 0; i < 1000; ++i) {
    want.push_back(L"C:\\tools\\" + std::to_wstring(i));
    path += want.back() + L";";
  }
  EXPECT_EQ(SearchDirectories(FakeEnvironment({{L"PATH", path}})), Followed(want, kAbsolute));
}

TEST(SearchDirectories, ListsAWellKnownPlaceOnceWhereThePathHasIt) {
  const FakeEnvironment environment(
      {{L"PATH", L"C:\\Program Files\\Git\\cmd;C:\\u\\.cargo\\bin;c:\\u\\scoop\\shims"},
       {L"USERPROFILE", L"C:\\u"}});
  EXPECT_EQ(SearchDirectories(environment),
            (List{L"C:\\Program Files\\Git\\cmd", L"C:\\u\\.cargo\\bin", L"c:\\u\\scoop\\shims",
                  L"C:\\u\\.bun\\bin", L"C:\\u\\.volta\\bin", L"C:\\u\\.local\\bin",
                  L"C:\\u\\scoop\\shims", L"C:\\Program Files\\nodejs",
                  L"C:\\Program Files\\Git\\usr\\bin", L"C:\\ProgramData\\chocolatey\\bin"}));
}

TEST(SearchDirectories, LeavesOutPlacesBelowAFolderThatIsNotSet) {
  const std::wstring longest(259, L'x');
  const std::wstring suffix = L"\\npm";
  const struct {
    const char* why;
    std::wstring value;
    bool isListed;
  } cases[] = {
      {"set", L"C:\\u", true},        {"one character", L"u", true},       {"empty", L"", false},
      {"the longest", longest, true}, {"too long", longest + L"x", false},
  };
  for (const auto& c : cases) {
    const List want = c.isListed ? List{c.value + suffix} : List();
    EXPECT_EQ(SearchDirectories(FakeEnvironment({{L"APPDATA", c.value}})),
              Followed(want, kAbsolute))
        << c.why;
  }
}

TEST(ExecutableExtensions, AreThoseOfPathext) {
  const List standard = {L".COM", L".EXE", L".BAT", L".CMD"};
  const struct {
    const char* why;
    std::wstring value;
    List want;
  } cases[] = {
      {"as written", L".EXE;.cmd;.PY", {L".EXE", L".cmd", L".PY"}},
      {"an empty entry", L".EXE;;.CMD", {L".EXE", L".CMD"}},
      {"twice", L".EXE;.EXE", {L".EXE", L".EXE"}},
      {"empty", L"", standard},
      {"one character counts as unset", L";", standard},
      {"separators only", L";;", {}},
      {"more separators", L";;;;;", {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ExecutableExtensions(FakeEnvironment({{L"PATHEXT", c.value}})), c.want) << c.why;
  }
  EXPECT_EQ(ExecutableExtensions(FakeEnvironment()), standard);
}

TEST(JoinPath, PutsOneSeparatorBetween) {
  EXPECT_EQ(JoinPath(L"", L"x"), L"x");
  EXPECT_EQ(JoinPath(L"C:\\a", L"x"), L"C:\\a\\x");
  EXPECT_EQ(JoinPath(L"C:\\a\\", L"x"), L"C:\\a\\x");
  EXPECT_EQ(JoinPath(L"C:/a/", L"x"), L"C:/a/x");
  EXPECT_EQ(JoinPath(L"C:", L"x"), L"C:\\x");
}

TEST(ResolveCommand, FindsTheFile) {
  const std::map<std::wstring, std::wstring> usual = {{L"PATH", L"C:\\1;C:\\2;C:\\3;C:\\4;C:\\5"},
                                                      {L"USERPROFILE", L"C:\\u"}};
  const struct {
    const char* why;
    std::wstring command;
    std::set<std::wstring> files;
    std::wstring want;
  } cases[] = {
      {"empty", L"", {L"C:\\1\\", L"C:\\here\\"}, L""},
      {"nowhere", L"npx", {L"C:\\6\\npx.exe"}, L""},
      {"an earlier directory first",
       L"npx",
       {L"C:\\3\\npx.CMD", L"C:\\5\\npx.EXE"},
       L"C:\\3\\npx.CMD"},
      {"the name as written first",
       L"npx",
       {L"C:\\2\\npx", L"C:\\2\\npx.CMD", L"C:\\2\\npx.EXE"},
       L"C:\\2\\npx"},
      {"extensions in their order",
       L"npx",
       {L"C:\\2\\npx.CMD", L"C:\\2\\npx.EXE"},
       L"C:\\2\\npx.EXE"},
      {"with its extension", L"npx.CMD", {L"C:\\2\\npx.CMD", L"C:\\1\\npx.EXE"}, L"C:\\2\\npx.CMD"},
      {"behind an extension", L"npx.CMD", {L"C:\\1\\npx.CMD.EXE"}, L"C:\\1\\npx.CMD.EXE"},
      {"in a well-known place",
       L"uvx",
       {L"C:\\u\\.local\\bin\\uvx.EXE"},
       L"C:\\u\\.local\\bin\\uvx.EXE"},
      {"not in the current folder", L"npx", {L"C:\\here\\npx.EXE"}, L""},
      {"home", L"~\\tools\\server.exe", {L"C:\\u\\tools\\server.exe"}, L"C:\\u\\tools\\server.exe"},
      {"home with a slash", L"~/server", {L"C:\\u/server.EXE"}, L"C:\\u/server.EXE"},
      {"home alone", L"~", {L"C:\\u.EXE"}, L"C:\\u.EXE"},
      {"no home of others", L"~bob\\x.exe", {L"C:\\u\\bob\\x.exe", L"C:\\ubob\\x.exe"}, L""},
      {"a file named like it", L"~bob", {L"C:\\1\\~bob"}, L"C:\\1\\~bob"},
      {"no home in the middle", L"C:\\~\\x", {L"C:\\~\\x"}, L"C:\\~\\x"},
      {"a variable", L"%USERPROFILE%\\x.exe", {L"C:\\u\\x.exe"}, L"C:\\u\\x.exe"},
      {"a variable that is not set",
       L"%NONE%\\x",
       {L"C:\\here\\%NONE%\\x"},
       L"C:\\here\\%NONE%\\x"},
      {"full path", L"C:\\x\\y.exe", {L"C:\\x\\y.exe"}, L"C:\\x\\y.exe"},
      {"full path plus extension", L"C:\\x\\y", {L"C:\\x\\y.BAT"}, L"C:\\x\\y.BAT"},
      {"full path as written first", L"C:\\x\\y", {L"C:\\x\\y", L"C:\\x\\y.COM"}, L"C:\\x\\y"},
      {"full path, not there", L"C:\\x\\y", {L"C:\\1\\y", L"C:\\1\\C:\\x\\y"}, L""},
      {"relative", L"bin\\y", {L"C:\\1\\bin\\y", L"C:\\here\\bin\\y"}, L"C:\\here\\bin\\y"},
      {"relative with a slash", L"./y", {L"C:\\here\\./y"}, L"C:\\here\\./y"},
      {"of a drive", L"D:y", {L"D:y", L"C:\\1\\D:y"}, L"D:y"},
      {"a colon elsewhere", L"ab:", {L"C:\\1\\ab:"}, L"C:\\1\\ab:"},
      {"spaces stay", L" npx", {L"C:\\1\\npx", L"C:\\1\\ npx.EXE"}, L"C:\\1\\ npx.EXE"},
      {"too long", L"C:\\" + std::wstring(257, L'x'), {L"C:\\" + std::wstring(257, L'x')}, L""},
      {"the longest",
       L"C:\\" + std::wstring(256, L'x'),
       {L"C:\\" + std::wstring(256, L'x')},
       L"C:\\" + std::wstring(256, L'x')},
  };
  for (const auto& c : cases) {
    FakeEnvironment environment(usual);
    environment.variables[L"PATHEXT"] = L".COM;.EXE;.BAT;.CMD";
    EXPECT_EQ(ResolveCommand(c.command, environment, FakeFiles(c.files)), c.want) << c.why;
  }
}

TEST(ResolveCommand, LeavesTheTildeWithoutAProfileFolder) {
  for (const auto& variables : {std::map<std::wstring, std::wstring>{},
                                {{L"USERPROFILE", L""}},
                                {{L"USERPROFILE", std::wstring(260, L'x')}}}) {
    EXPECT_EQ(ResolveCommand(L"~\\x", FakeEnvironment(variables), FakeFiles({L"C:\\here\\~\\x"})),
              L"C:\\here\\~\\x");
  }
}

TEST(FindWithExtension, GivesTheFirstThatExists) {
  FakeEnvironment environment;
  environment.variables[L"PATHEXT"] = L".EXE;.CMD";
  const FakeFiles files({L"C:\\npx", L"C:\\npx.CMD"});
  EXPECT_EQ(FindWithExtension(L"C:\\npx", environment, files), L"C:\\npx.CMD");
  EXPECT_EQ(FindWithExtension(L"C:\\npx.CMD", environment, files), L"");
  environment.variables[L"PATHEXT"] = L";;";
  EXPECT_EQ(FindWithExtension(L"C:\\npx", environment, files), L"");
}

}  // namespace
}  // namespace wendra
