#include "mcp/stdio/command_line.h"

#include <random>

#include <gtest/gtest.h>

#include "tests/support/generated_arguments.h"
#include "tests/support/shell_reading.h"

namespace wendra {
namespace {

using Words = std::vector<std::wstring>;

constexpr std::wstring_view kShell = L"cmd.exe /d /s /c \"";

TEST(QuoteArgument, QuotesOnlyArgumentsThatNeedQuotes) {
  const struct {
    std::wstring argument, want;
  } cases[] = {
      {L"-y", L"-y"},
      {L"C:\\dir\\", L"C:\\dir\\"},
      {L"a&b|c^%PATH%!", L"a&b|c^%PATH%!"},
      {L"", L"\"\""},
      {L"two words", L"\"two words\""},
      {L"a\tb", L"\"a\tb\""},
      {L"a\nb", L"\"a\nb\""},
      {L"a\vb", L"\"a\vb\""},
      {L"*.txt", L"\"*.txt\""},
      {L"a?", L"\"a?\""},
      {L"say \"hi\"", L"\"say \\\"hi\\\"\""},
      {L"\"", L"\"\\\"\""},
      {L"C:\\my dir\\", L"\"C:\\my dir\\\\\""},
      {L"a\\\"b", L"\"a\\\\\\\"b\""},
      {L"a\\\\ b", L"\"a\\\\ b\""},
      {L"ü ö", L"\"ü ö\""},
  };
  for (const auto& c : cases) EXPECT_EQ(QuoteArgument(c.argument), c.want);
}

TEST(IsBatchScript, GoesByTheExtension) {
  const struct {
    std::wstring path;
    bool want;
  } cases[] = {
      {L"C:\\npm\\npx.cmd", true},
      {L"C:\\x.bat", true},
      {L"X.CMD", true},
      {L"x.Bat", true},
      {L".cmd", true},
      {L"C:\\x.exe", false},
      {L"C:\\x.cmd.exe", false},
      {L"C:\\x.cmd\\y", false},
      {L"C:\\cmd", false},
      {L"cmd", false},
      {L"", false},
      {L"C:\\x.cmdx", false},
      {L"C:\\x.com", false},
      {L"C:\\x.cmd.", true},
      {L"C:\\x.bat . ", true},
      {L"...", false},
  };
  for (const auto& c : cases) EXPECT_EQ(IsBatchScript(c.path), c.want) << Printable(c.path);
}

TEST(ChildCommandLine, StartsAProgramWithItsArguments) {
  EXPECT_EQ(ChildCommandLine(L"C:\\a.exe", {}), L"C:\\a.exe");
  EXPECT_EQ(ChildCommandLine(L"C:\\a b.exe", {L"-y", L"", L"two words"}),
            L"\"C:\\a b.exe\" -y \"\" \"two words\"");
  EXPECT_EQ(ChildCommandLine(L"C:\\a.exe", {L"a\r\nb"}), L"C:\\a.exe \"a\r\nb\"");
}

TEST(ChildCommandLine, StartsABatchFileThroughTheShell) {
  const struct {
    Words arguments;
    std::wstring want;  // between the file's name and the last quote
  } cases[] = {
      {{}, L""},
      {{L"-y", L"@scope/name@1.0.0"}, L" -y @scope/name@1.0.0"},
      {{L"C:\\dir\\"}, L" C:\\dir\\"},
      {{L""}, L" \"\""},
      {{L"two words"}, L" \"two words\""},
      {{L"a=b", L"a,b", L"a;b"}, L" \"a=b\" \"a,b\" \"a;b\""},
      {{L"a&b", L"<x", L">x", L"|", L"^", L"(x)", L"!x!"},
       L" \"a&b\" \"<x\" \">x\" \"|\" \"^\" \"(x)\" \"!x!\""},
      {{L"100%"}, L" \"100%%cd:~,%\""},
      {{L"%PATH%"}, L" \"%%cd:~,%PATH%%cd:~,%\""},
      {{L"my dir\\"}, L" \"my dir\\\\\""},
      {{L"ü"}, L" \"ü\""},
      // After a quote in a word, cmd.exe is outside quotes while the program is inside.
      {{L"{\"a\":1}"}, L" \"{\\\"a\\\":1}\""},
      {{L"{\"a&b\":\"c d\"}"}, L" \"{\\\"a\"&b\\\":\\\"c\" d\\\"}\""},
      {{L"\"&calc"}, L" \"\\\"\"&calc"},
      {{L"\"\\&\\"}, L" \"\\\"\\\\\"&\\"},
      // A single quote character in a word leaves cmd.exe inside quotes.
      {{L"a\"", L"b c", L"d&e", L""}, L" \"a\\\"\" b\" c\" d&e \"\""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ChildCommandLine(L"C:\\x.cmd", c.arguments),
              std::wstring(kShell) + L"\"C:\\x.cmd\"" + c.want + L"\"");
  }
  EXPECT_EQ(ChildCommandLine(L"C:/50% & more\\x.BAT", {}),
            std::wstring(kShell) + L"\"C:/50%%cd:~,% & more\\x.BAT\"\"");
}

TEST(ChildCommandLine, SwitchesTheSettingsOfTheRegistryBack) {
  EXPECT_EQ(ChildCommandLine(L"C:\\x.cmd", {L"!a!"}, ShellSettings::kSwitched),
            L"cmd.exe /d /e:on /v:off /s /c \"\"C:\\x.cmd\" \"!a!\"\"");
  EXPECT_EQ(ChildCommandLine(L"C:\\x.exe", {L"!a!"}, ShellSettings::kSwitched), L"C:\\x.exe !a!");
}

TEST(ChildCommandLine, RefusesCharactersThatNoLineCanCarry) {
  const std::wstring zero(L"a\0b", 3);
  EXPECT_EQ(ChildCommandLine(L"C:\\a.exe", {L"-y", zero}), std::nullopt);
  EXPECT_EQ(ChildCommandLine(zero, {}), std::nullopt);
  for (const std::wstring& broken : {zero, std::wstring(L"a\nb"), std::wstring(L"a\r")}) {
    EXPECT_EQ(ChildCommandLine(L"C:\\x.cmd", {L"-y", broken}), std::nullopt);
  }
}

TEST(ChildCommandLine, ReachesEveryRuntimeUnchanged) {
  std::mt19937 random(2026);
  for (int i = 0; i < 5000; ++i) {
    Words words = {L"C:\\my tools\\a.exe"};
    for (int n = 0; n < 4; ++n) words.push_back(GeneratedArgument(random));
    const auto line = ChildCommandLine(words[0], {words.begin() + 1, words.end()});
    ASSERT_TRUE(line);
    ASSERT_EQ(SplitLikeRuntime(*line, Runtime::kOld), words) << Printable(*line);
    ASSERT_EQ(SplitLikeRuntime(*line, Runtime::kNew), words) << Printable(*line);
  }
}

TEST(ChildCommandLine, GivesTheShellOneCommandOnly) {
  std::mt19937 random(2027);
  for (int i = 0; i < 5000; ++i) {
    Words words = {L"C:\\my %tools% & more\\a.cmd"};
    for (int n = 0; n < 4; ++n) words.push_back(WithoutLineBreaks(GeneratedArgument(random)));
    const auto line = ChildCommandLine(words[0], {words.begin() + 1, words.end()});
    ASSERT_TRUE(line);
    ASSERT_TRUE(line->starts_with(kShell) && line->ends_with(L'"'));
    const std::wstring command = line->substr(kShell.size(), line->size() - kShell.size() - 1);
    const auto expanded = ExpandLikeShell(command);
    ASSERT_TRUE(expanded) << Printable(*line);
    ASSERT_FALSE(HoldsOperators(*expanded)) << Printable(*line);
    ASSERT_EQ(SplitLikeRuntime(*expanded, Runtime::kOld), words) << Printable(*line);
    ASSERT_EQ(SplitLikeRuntime(*expanded, Runtime::kNew), words) << Printable(*line);
  }
}

}  // namespace
}  // namespace wendra
