#include "win/wide.h"

#include <string>

#include <gtest/gtest.h>

#include <windows.h>

namespace wendra {
namespace {

TEST(Wide, ConvertsInBothDirections) {
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

TEST(Wide, ReplacesPartsThatAreNotWellFormed) {
  EXPECT_EQ(Widen("a\xFFz"), L"a\xFFFDz");
  EXPECT_EQ(Widen("\xC3"), L"\xFFFD");
  EXPECT_EQ(Widen("\xC3z"), L"\xFFFDz");
  EXPECT_EQ(Narrow(L"a\xD83Dz"), "a\xEF\xBF\xBDz");
}

// With ASCII text of every length before the odd bytes, and more text after them.
TEST(Wide, AgreesWithTheSystem) {
  for (const std::string odd : {"ü", "😀", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\x80\x80", "ü日"}) {
    for (size_t before = 0; before < 40; ++before) {
      const std::string text =
          std::string(before, 'a') + odd + std::string(40 - before, 'b') + odd + odd + "c" + odd;
      std::wstring want(text.size(), L'\0');
      want.resize(static_cast<size_t>(
          MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), want.data(),
                              static_cast<int>(want.size()))));
      EXPECT_EQ(Widen(text), want) << before << " " << odd;
    }
  }
}

TEST(Wide, TakesSixteenMebibytes) {
  std::string text;
  while (text.size() < (16u << 20)) text += "abcdefgh ü 日 😀\n";
  EXPECT_EQ(Narrow(Widen(text)), text);
}

}  // namespace
}  // namespace wendra
