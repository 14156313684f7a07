#include "mcp/stdio/child_environment.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

using List = std::vector<std::wstring>;

// Entries of a block, each followed by a NUL.
std::wstring Block(const List& entries) {
  std::wstring block;
  for (const auto& entry : entries) block += entry + L'\0';
  return block;
}

TEST(BuildChildEnvironment, MergesTheVariablesOfTheHostAndOfTheServer) {
  const struct {
    const char* why;
    List host, directories;
    WideNamedValues env;
    List want;
  } cases[] = {
      {"nothing", {}, {}, {}, {L"PATH=C:\\Windows\\System32"}},
      {"directories before the host's path",
       {L"PATH=C:\\a;C:\\b"},
       {L"C:\\a", L"C:\\b", L"C:\\c"},
       {},
       {L"PATH=C:\\a;C:\\b;C:\\c;C:\\a;C:\\b"}},
      {"no path", {L"X=1"}, {L"C:\\a"}, {}, {L"PATH=C:\\a;C:\\Windows\\System32", L"X=1"}},
      {"an empty path", {L"PATH="}, {L"C:\\a"}, {}, {L"PATH=C:\\a;C:\\Windows\\System32"}},
      {"names in upper case, values as they are",
       {L"Path=C:\\A", L"windir=C:\\Windows", L"Größe=1"},
       {},
       {},
       {L"GRößE=1", L"PATH=C:\\A", L"WINDIR=C:\\Windows"}},
      {"sorted by name",
       {L"b=2", L"A_=3", L"a=1", L"PATH=p"},
       {},
       {},
       {L"A=1", L"A_=3", L"B=2", L"PATH=p"}},
      {"a value with equals signs", {L"PATH=p", L"X=a=b="}, {}, {}, {L"PATH=p", L"X=a=b="}},
      {"an empty value", {L"PATH=p", L"X="}, {}, {}, {L"PATH=p", L"X="}},
      {"entries without a name",
       {L"=C:=C:\\x", L"=D:=D:\\y", L"PATH=p"},
       {},
       {},
       {L"=D:=D:\\y", L"PATH=p"}},
      {"no equals sign, and empty", {L"", L"X", L"PATH=p", L""}, {}, {}, {L"PATH=p"}},
      {"env adds and replaces",
       {L"PATH=p", L"X=1"},
       {},
       {{L"new", L"ü"}, {L"x", L"2"}},
       {L"NEW=ü", L"PATH=p", L"X=2"}},
      {"the last of equal names",
       {L"PATH=p"},
       {},
       {{L"x", L"1"}, {L"X", L"2"}},
       {L"PATH=p", L"X=2"}},
      {"env replaces the whole path",
       {L"PATH=p"},
       {L"C:\\a"},
       {{L"Path", L"C:\\only"}},
       {L"PATH=C:\\only"}},
      {"env empties", {L"PATH=p", L"X=1"}, {}, {{L"x", L""}, {L"path", L""}}, {L"PATH=", L"X="}},
      {"no name, no variable", {L"PATH=p"}, {}, {{L"", L"1"}}, {L"PATH=p"}},
      {"nothing after a NUL",
       {L"PATH=p"},
       {},
       {{L"x", std::wstring(L"1\0Y=2\0\0", 8)},
        {std::wstring(L"z\0=", 3), L"3"},
        {std::wstring(L"\0W", 2), L"4"}},
       {L"PATH=p", L"X=1", L"Z=3"}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(BuildChildEnvironment(Block(c.host), c.directories, c.env), Block(c.want) + L'\0')
        << c.why;
  }
}

TEST(BuildChildEnvironment, TakesABlockWithAndWithoutItsLastNul) {
  const std::wstring want = Block({L"PATH=p", L"X=1"}) + L'\0';
  EXPECT_EQ(BuildChildEnvironment(L"PATH=p", {}, {{L"X", L"1"}}), want);
  EXPECT_EQ(BuildChildEnvironment(Block({L"PATH=p"}) + L'\0', {}, {{L"X", L"1"}}), want);
}

// The order differs where wchar_t is a UTF-16 unit: there U+1F600 is D83D DE00, which comes before
// U+FF21.
TEST(BuildChildEnvironment, SortsNamesByTheirUnits) {
  const std::wstring block =
      BuildChildEnvironment(Block({L"\uFF21=1", L"\U0001F600=2", L"PATH=p", L"ü=3"}), {}, {});
  const bool isUtf16 = sizeof(wchar_t) == 2;
  EXPECT_EQ(block, isUtf16 ? Block({L"PATH=p", L"ü=3", L"\U0001F600=2", L"\uFF21=1"}) + L'\0'
                           : Block({L"PATH=p", L"ü=3", L"\uFF21=1", L"\U0001F600=2"}) + L'\0');
}

}  // namespace
}  // namespace wendra
