#include "base/base64.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(EncodeBase64, PadsToFourCharacters) {
  const struct {
    std::string_view bytes, want;
  } cases[] = {
      {"", ""},
      {"f", "Zg=="},
      {"fo", "Zm8="},
      {"foo", "Zm9v"},
      {"foob", "Zm9vYg=="},
      {"fooba", "Zm9vYmE="},
      {"abc", "YWJj"},
      {"ab", "YWI="},
      {std::string_view("\0\0\0", 3), "AAAA"},
      {"\xFF", "/w=="},
      {"\xFB\xEF\xBE", "++++"},
      {"\xFF\xFF\xFF", "////"},
  };
  for (const auto& c : cases) EXPECT_EQ(EncodeBase64(c.bytes), c.want);
}

TEST(EncodeBase64, GivesEachValueOfSixBitsItsCharacter) {
  std::string bytes;
  for (unsigned i = 0; i < 64; i += 4) {
    const unsigned group = i << 18 | (i + 1) << 12 | (i + 2) << 6 | (i + 3);
    bytes += static_cast<char>(group >> 16);
    bytes += static_cast<char>(group >> 8 & 0xFF);
    bytes += static_cast<char>(group & 0xFF);
  }
  EXPECT_EQ(EncodeBase64(bytes),
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
}

TEST(EncodeBase64, GivesFourCharactersForEachGroupOfThreeBytes) {
  for (size_t size = 0; size < 100; ++size) {
    EXPECT_EQ(EncodeBase64(std::string(size, 'x')).size(), (size + 2) / 3 * 4);
  }
}

}  // namespace
}  // namespace wendra
