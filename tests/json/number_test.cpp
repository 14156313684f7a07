#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

#include "json/json.h"
#include "json/number.h"

namespace wendra {
namespace {

bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

TEST(JsonNumber, KeepsTheLiteralAndItsValue) {
  const struct {
    std::string_view text;
    double value;
  } cases[] = {
      {"0", 0.0},
      {"-0", -0.0},
      {"0.0", 0.0},
      {"-0.0e5", -0.0},
      {"0e999999999999999999999", 0.0},
      {"-0e999999999999999999999", -0.0},
      {"0e-999999999999999999999", 0.0},
      {"0.000e400", 0.0},
      {"1", 1},
      {"-1", -1},
      {"01", 1},
      {"007", 7},
      {"-007", -7},
      {"00", 0},
      {"000000000000000000000000000000000001", 1},
      {"1.50", 1.5},
      {"1.0", 1},
      {"1e2", 100},
      {"1E+2", 100},
      {"2E-3", 0.002},
      {"1e0", 1},
      {"1e00000000000000000000000000000000002", 100},
      {"123456789", 123456789},
      {"0.1", 0.1},
      {"3.141592653589793", 3.141592653589793},
      {"9007199254740991", 9007199254740991.0},
      {"9007199254740992", 9007199254740992.0},
      {"9007199254740993", 9007199254740992.0},
      {"9223372036854775807", 9223372036854775807.0},
      {"18446744073709551615", 18446744073709551615.0},
      {"18446744073709551616", 18446744073709551616.0},
      {"123456789012345678901234567890", 123456789012345678901234567890.0},
      {"1e22", 1e22},
      {"1e23", 1e23},
      {"9007199254740992e22", 9007199254740992e22},
      {"1e-22", 1e-22},
      {"1e-23", 1e-23},
      {"1.7976931348623157e308", std::numeric_limits<double>::max()},
      {"2.2250738585072014e-308", std::numeric_limits<double>::min()},
      {"2.2250738585072011e-308", 2.2250738585072011e-308},
      {"1e-310", 1e-310},
      {"5e-324", 5e-324},
      {"3e-324", 5e-324},  // rounds up to the smallest subnormal
  };
  for (const auto& c : cases) {
    Json value;
    ASSERT_TRUE(Parse(c.text, value)) << c.text;
    EXPECT_EQ(value.kind, kJsonNumber) << c.text;
    EXPECT_EQ(value.text, c.text);
    EXPECT_TRUE(SameBits(value.number, c.value)) << c.text << " gave " << value.number;
    std::string written;
    Serialize(value, written);
    EXPECT_EQ(written, c.text);
  }
}

TEST(JsonNumber, RefusesTextThatIsNoNumber) {
  const std::string_view cases[] = {
      "-",   "--1",  "-a",   "-.5",  "-e1",  "1.",  ".5",  "+1",   "1e",       "1e+",   "1e-",
      "1E",  "1ex",  "1e+x", "1..2", "1.e2", ".",   "e5",  "1e5.", "1e5.5",    "1.2.3", "0x10",
      "1_0", "1e 5", "1 e5", "- 1",  "1f",   "inf", "nan", "-nan", "\xD9\xA1",
  };
  for (const auto text : cases) {
    Json value;
    EXPECT_FALSE(Parse(text, value)) << text;
    EXPECT_FALSE(Parse("[" + std::string(text) + "]", value)) << text;
  }
}

TEST(JsonNumber, ThrowsOutOfRange) {
  const std::string_view cases[] = {
      "1e400",
      "-1e400",
      "1e309",
      "1.7976931348623159e308",
      "1e99999999999999999999999999",
      "1e-400",
      "-1e-400",
      "2e-324",
      "1e-99999999999999999999999999",
      "0.000001e-400",
  };
  for (const auto text : cases) {
    for (const std::string& whole :
         {std::string(text), "[" + std::string(text) + "]", "{\"a\":" + std::string(text) + "}",
          "[" + std::string(text)}) {
      Json value;
      try {
        Parse(whole, value);
        FAIL() << whole << " did not throw";
      } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "stod argument out of range") << whole;
      }
    }
  }
}

// The reader reads the text once, from start to end. It throws when it reaches a complete number
// that is out of range, and does not look for errors after it.
TEST(JsonNumber, ThrowsWhenACompleteNumberIsReached) {
  const struct {
    std::string_view text;
    bool throws;
  } cases[] = {
      {"1e400x", true},     {"1e400e", true},      {"1e400.5", true},    {"[1e400", true},
      {"[1e400,]", true},   {"[1,] 1e400", false}, {"[x,1e400]", false}, {"{\"a\" 1e400}", false},
      {"1.e400", false},    {"-e400", false},      {"1e+", false},       {"\"1e400\"x", false},
      {"{1e400:1}", false},
  };
  for (const auto& c : cases) {
    Json value;
    if (c.throws) {
      EXPECT_THROW(Parse(c.text, value), std::out_of_range) << c.text;
    } else {
      EXPECT_FALSE(Parse(c.text, value)) << c.text;
    }
  }
}

TEST(JsonNumber, ConvertsManyDigitsWithALargeExponent) {
  const std::string zeros(1'000'000, '0');
  const struct {
    std::string text;
    double value;
  } cases[] = {
      {"0." + zeros + "1e1000001", 1},
      {"1" + zeros + "e-1000000", 1},
      {"0." + zeros, 0},
      {zeros + "1", 1},
      {"0." + zeros.substr(0, 99'999) + "1e100000", 1},
      {"123" + zeros.substr(0, 300) + "e-300", 123},
      {"1." + zeros, 1},
  };
  for (const auto& c : cases) {
    Json value;
    ASSERT_TRUE(Parse(c.text, value)) << c.text.substr(0, 20);
    EXPECT_EQ(value.number, c.value) << c.text.substr(0, 20);
    EXPECT_EQ(value.text, c.text);
  }
  Json value;
  EXPECT_THROW(Parse("0." + zeros + "1", value), std::out_of_range);
  EXPECT_THROW(Parse("1" + zeros, value), std::out_of_range);
  EXPECT_THROW(Parse("0." + zeros.substr(0, 99'999) + "1e1000000", value), std::out_of_range);
}

// Compares with the standard library's conversion, which rounds correctly.
void ExpectLikeStrtod(const std::string& text) {
  const double want = std::strtod(text.c_str(), nullptr);
  const bool isZero = text.find_first_of("123456789") >= text.find_first_of("eE");
  double got = 0;
  if (std::isinf(want) || (want == 0 && !isZero)) {
    EXPECT_THROW(ReadNumber(text.data(), text.data() + text.size(), got), std::out_of_range)
        << text;
    return;
  }
  ASSERT_EQ(ReadNumber(text.data(), text.data() + text.size(), got), text.data() + text.size())
      << text;
  ASSERT_TRUE(SameBits(got, want)) << text << " gave " << got;
}

TEST(JsonNumber, AgreesWithTheStandardConversion) {
  std::mt19937_64 random(20240229);
  const auto below = [&](std::uint64_t limit) { return random() % limit; };
  const auto digits = [&](std::uint64_t count) {
    std::string text;
    for (; count > 0; --count) text += static_cast<char>('0' + below(10));
    return text;
  };
  for (int i = 0; i < 200'000; ++i) {
    std::string text = below(2) ? "-" : "";
    text += digits(1 + below(below(8) ? 17 : 40));
    if (below(2)) text += "." + digits(1 + below(20));
    if (below(2)) {
      text += below(2) ? "e" : "E";
      text += std::string_view("+-").substr(below(2), below(2));
      text += std::to_string(below(below(2) ? 25 : 340));
    }
    ExpectLikeStrtod(text);
  }
}

TEST(JsonNumber, ReadsEveryPrintedDoubleBack) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 200'000; ++i) {
    const std::uint64_t bits = random();
    double want = 0;
    std::memcpy(&want, &bits, sizeof want);
    if (!std::isfinite(want)) continue;
    char text[40];
    const int length = std::snprintf(text, sizeof text, "%.17g", want);
    double got = 0;
    ASSERT_EQ(ReadNumber(text, text + length, got), text + length) << text;
    ASSERT_TRUE(SameBits(got, want)) << text;
  }
}

}  // namespace
}  // namespace wendra
