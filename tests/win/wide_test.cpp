#include "win/wide.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(Wide, GoesThereAndBack) {
  const struct {
    std::string utf8;
    std::wstring utf16;
  } cases[] = {
      {"", L""},
      {"plain", L"plain"},
      {"ü", L"\u00FC"},
      {"日本", L"\u65E5\u672C"},
      {"😀", L"\xD83D\xDE00"},
      {std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
      {"—", L"\u2014"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Widen(c.utf8), c.utf16) << c.utf8;
    EXPECT_EQ(Narrow(c.utf16), c.utf8);
  }
}

TEST(Wide, ReplacesWhatIsNotWellFormed) {
  EXPECT_EQ(Widen("a\xFFz"), L"a\xFFFDz");
  EXPECT_EQ(Widen("\xC3"), L"\xFFFD");
  EXPECT_EQ(Narrow(L"a\xD83Dz"), "a\xEF\xBF\xBDz");
}

TEST(Wide, TakesSixteenMebibytes) {
  std::string text;
  while (text.size() < (16u << 20)) text += "abcdefgh ü 日 😀\n";
  EXPECT_EQ(Narrow(Widen(text)), text);
}

}  // namespace
}  // namespace wendra
