#include "base/ascii.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(LowerAscii, ChangesTheLettersAToZOnly) {
  EXPECT_EQ(LowerAscii("AZaz09[`@{-"), "azaz09[`@{-");
  EXPECT_EQ(LowerAscii("ÄÖ"), "ÄÖ");  // bytes of 0x80 and above stay
  EXPECT_EQ(LowerAscii(""), "");
}

TEST(TrimWhitespace, RemovesFourKindsOfWhitespaceAtBothEnds) {
  const struct {
    std::string_view in, want;
  } cases[] = {
      {"", ""},
      {" \t\r\n", ""},
      {" \t\r\nx\n\r\t ", "x"},
      {"a b", "a b"},
      {"\vx\f", "\vx\f"},          // vertical tab and form feed do not count
      {"\xC2\xA0x", "\xC2\xA0x"},  // nor does the no-break space
      {std::string_view("\0x\0", 3), std::string_view("\0x\0", 3)},
  };
  for (const auto& c : cases) EXPECT_EQ(TrimWhitespace(c.in), c.want) << c.in;
}

}  // namespace
}  // namespace wendra
