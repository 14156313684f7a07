#include "base/utf8.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(IsWellFormedUtf8, AcceptsCompleteSequencesThatAreNotOverlong) {
  for (const char* text : {"", "plain", "\x7F", "\xC2\x80", "ü", "\xDF\xBF", "\xE0\xA0\x80", "日本",
                           "\xF0\x90\x80\x80", "😀", "a ü 日 😀 z",
                           "\xED\xA0\x80",         // a surrogate
                           "\xF4\x90\x80\x80",     // above U+10FFFF
                           "\xF7\xBF\xBF\xBF"}) {  // the highest value of four bytes
    EXPECT_TRUE(IsWellFormedUtf8(text)) << text;
  }
}

TEST(IsWellFormedUtf8, RefusesBrokenAndOverlongSequences) {
  for (const char* text : {"\x80",
                           "\xBF",
                           "a\x80",
                           "\xC3",
                           "\xC3z",
                           "\xC3\xC3",
                           "\xE2\x82",
                           "\xE2\x82z",
                           "\xE2z\x82",
                           "\xF0\x9F\x98",
                           "\xF0\x9F\x98z",
                           "\xC0\x80",
                           "\xC1\xBF",  // overlong
                           "\xE0\x80\x80",
                           "\xE0\x9F\xBF",  // overlong
                           "\xF0\x80\x80\x80",
                           "\xF0\x8F\xBF\xBF",  // overlong
                           "\xF8\x88\x80\x80\x80",
                           "\xFC",
                           "\xFE",
                           "\xFF",
                           "gr\xFC\xDF"}) {
    EXPECT_FALSE(IsWellFormedUtf8(text)) << text;
  }
}

TEST(IsWellFormedUtf8, FindsABadByteAtEveryPosition) {
  for (size_t at = 0; at < 40; ++at) {
    std::string text(40, 'a');
    text[at] = '\xFF';
    EXPECT_FALSE(IsWellFormedUtf8(text)) << at;
    text.replace(at, 1, "ü");
    EXPECT_TRUE(IsWellFormedUtf8(text)) << at;
  }
}

TEST(IsWellFormedUtf8, RefusesASequenceThatTheEndOfTheTextCuts) {
  const std::string_view text = "日";
  EXPECT_TRUE(IsWellFormedUtf8(text));
  EXPECT_FALSE(IsWellFormedUtf8(text.substr(0, 2)));
  EXPECT_FALSE(IsWellFormedUtf8(text.substr(0, 1)));
  EXPECT_TRUE(IsWellFormedUtf8(std::string_view("\0", 1)));
}

TEST(HoldsControlCharacter, FindsBothRanges) {
  for (unsigned code = 0; code < 0x100; ++code) {
    std::string text = "a";
    if (code >= 0x80) text += static_cast<char>(0xC0 | code >> 6);
    text += static_cast<char>(code < 0x80 ? code : 0x80 | (code & 0x3F));
    text += 'b';
    EXPECT_EQ(HoldsControlCharacter(text), code < 0x20 || (code >= 0x7F && code < 0xA0)) << code;
  }
  EXPECT_FALSE(HoldsControlCharacter(""));
  EXPECT_FALSE(HoldsControlCharacter("\xE2\x82\x85"));  // one character of three bytes
}

}  // namespace
}  // namespace wendra
