#include "base/ascii.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(LowerAscii, ChangesTheLettersAToZOnly) {
  EXPECT_EQ(LowerAscii("AZaz09[`@{-"), "azaz09[`@{-");
  EXPECT_EQ(LowerAscii("ÄÖ"), "ÄÖ");  // bytes of 0x80 and above stay
  EXPECT_EQ(LowerAscii(""), "");
}

TEST(TrimBlanks, RemovesFourKindsOfBlankAtBothEnds) {
  const struct {
    std::string_view in, want;
  } cases[] = {
      {"", ""},
      {" \t\r\n", ""},
      {" \t\r\nx\n\r\t ", "x"},
      {"a b", "a b"},
      {"\vx\f", "\vx\f"},          // no blanks here
      {"\xC2\xA0x", "\xC2\xA0x"},  // nor is the no-break space
      {std::string_view("\0x\0", 3), std::string_view("\0x\0", 3)},
  };
  for (const auto& c : cases) EXPECT_EQ(TrimBlanks(c.in), c.want) << c.in;
}

}  // namespace
}  // namespace wendra
