#include "win/environment.h"

#include <gtest/gtest.h>

#include <windows.h>

namespace wendra {
namespace {

TEST(EnvironmentText, GivesAtMost259Characters) {
  const struct {
    const wchar_t* why;
    std::wstring value, want;
  } cases[] = {
      {L"plain", L"x", L"x"},
      {L"the longest that fits", std::wstring(259, L'a'), std::wstring(259, L'a')},
      {L"one too long", std::wstring(260, L'a'), L""},
  };
  for (const auto& c : cases) {
    SetEnvironmentVariableW(L"WENDRA_TEST_VALUE", c.value.c_str());
    EXPECT_EQ(EnvironmentText(L"WENDRA_TEST_VALUE"), c.want) << c.why;
  }
  SetEnvironmentVariableW(L"WENDRA_TEST_VALUE", nullptr);
  EXPECT_EQ(EnvironmentText(L"WENDRA_TEST_VALUE"), L"");
}

TEST(ExpandEnvironment, ReplacesKnownNamesOnly) {
  SetEnvironmentVariableW(L"WENDRA_TEST_VALUE", L"Käse");
  EXPECT_EQ(ExpandEnvironment(L"<%WENDRA_TEST_VALUE%>"), L"<Käse>");
  EXPECT_EQ(ExpandEnvironment(L"%WENDRA_NO_SUCH%\\x"), L"%WENDRA_NO_SUCH%\\x");
  EXPECT_EQ(ExpandEnvironment(L""), L"");
}

}  // namespace
}  // namespace wendra
