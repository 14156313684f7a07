#include "update/version.h"

#include <string>

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(ParseVersion, TakesTheLeadingDigitsOfEachPart) {
  const struct {
    const char* text;
    VersionNumbers want;
  } cases[] = {
      {"1.2.3", {1, 2, 3}},
      {"1.2.3-beta", {1, 2, 3}},
      {"v2.0", {0, 0}},
      {"", {0}},
      {".", {0, 0}},
      {"...", {0, 0, 0, 0}},
      {"1.", {1, 0}},
      {".1", {0, 1}},
      {"1..2", {1, 0, 2}},
      {"007", {7}},
      {"1.010", {1, 10}},
      {" 1", {0}},
      {"1 .2", {1, 2}},
      {"1. 2", {1, 0}},
      {"+1", {0}},
      {"-1", {0}},
      {"1-2", {1}},
      {"1,5", {1}},
      {"0x10", {0}},
      {"1e3", {1}},
      {"2.b3", {2, 0}},
      {"2.3b", {2, 3}},
      {"\xD9\xA3", {0}},  // the Arabic digit three: only ASCII digits count
      {"2147483647", {2147483647u}},
      {"2147483648", {2147483648u}},
      {"4294967295", {4294967295u}},
      {"4294967296", {0}},
      {"4294967297.1", {1, 1}},
      {"9999999999", {1410065407u}},
      {"18446744073709551616", {0}},
      {"99999999999999999999", {1661992959u}},
      {"1.2.3.4.5.6.7.8.9.10.11.12", {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
  };
  for (const auto& c : cases) EXPECT_EQ(ParseVersion(c.text), c.want) << c.text;
}

TEST(ParseVersion, HasNoLimitOnTheNumberOfParts) {
  const std::string dots(1'000'000, '.');
  EXPECT_EQ(ParseVersion(dots).size(), 1'000'001u);
}

TEST(ParseVersion, EndsANumberAtANulCharacter) {
  EXPECT_EQ(ParseVersion(std::string_view("1\0002.3", 5)), (VersionNumbers{1, 3}));
}

std::strong_ordering Compare(std::string_view a, std::string_view b) {
  return CompareVersions(ParseVersion(a), ParseVersion(b));
}

std::strong_ordering Reversed(std::strong_ordering order) { return 0 <=> order; }

TEST(CompareVersions, ComparesTheNumbersAtTheFirstUnequalPosition) {
  const auto kLess = std::strong_ordering::less;
  const auto kEqual = std::strong_ordering::equal;
  const struct {
    const char* a;
    const char* b;
    std::strong_ordering want;
  } cases[] = {
      {"1.4", "1.4.0.0", kEqual},
      {"1.2", "1.2.0.0", kEqual},
      {"", "0", kEqual},
      {"", "0.0.0", kEqual},
      {"abc", "", kEqual},
      {"v2.0", "0", kEqual},
      {"v2.0", "v9.0", kEqual},
      {"1.2.3-beta", "1.2.3", kEqual},
      {"1.2.3-beta1", "1.2.3-beta2", kEqual},
      {"1.02", "1.2", kEqual},
      {"4294967296", "0", kEqual},
      {"4294967297", "1", kEqual},
      {"1.", "1", kEqual},
      {"1....", "1", kEqual},
      {"1.2", "1.3", kLess},
      {"1.9", "1.10", kLess},
      {"1.99.99", "2", kLess},
      {"1", "1.0.0.1", kLess},
      {"1.0.0.0", "1.0.0.0.1", kLess},
      {"v2.0", "1.0", kLess},
      {"1.2.b9", "1.2.1", kLess},
      {"0.9", "1", kLess},
      {"1.2.3", "1.2.4-alpha", kLess},
      {"-2", "1", kLess},
      {"2147483646", "2147483647", kLess},
      {"2147483648", "0", kLess},           // 2147483648 counts as -2147483648
      {"2147483648", "2147483647", kLess},  // the same
      {"1.2147483648", "1", kLess},         // the missing part counts as 0
      {"4294967295", "0", kLess},           // 4294967295 counts as -1
      {"2147483648", "4294967295", kLess},  // -2147483648 and -1
      {"1.4294967295.5", "1.0.0", kLess},
      {"10.0.19041.1", "10.0.19045.0", kLess},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Compare(c.a, c.b), c.want) << c.a << " and " << c.b;
    EXPECT_EQ(Compare(c.b, c.a), Reversed(c.want)) << c.b << " and " << c.a;
    EXPECT_EQ(Compare(c.a, c.a), kEqual) << c.a;
  }
}

}  // namespace
}  // namespace wendra
