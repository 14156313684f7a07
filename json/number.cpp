#include "json/number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <system_error>

namespace wendra {

namespace {

// Up to these limits, every integer and every power of ten is exactly a double. One multiplication
// or division of two exact doubles rounds once, so its result is correctly rounded.
constexpr std::uint64_t kMaxExactInteger = std::uint64_t{1} << 53;
constexpr double kExactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                        1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr std::int64_t kMaxExactPower = 22;

// A number with more digits than this may need more than 64 bits.
constexpr std::ptrdiff_t kMaxDigits = 19;

// The reader stops to count an exponent that has reached this size: no text has enough digits to
// bring such a number back into range, and counting on would overflow.
constexpr std::int64_t kLargeExponent = 100'000'000'000'000'000;

bool IsDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

// A literal while it is read: its value is digits * 10^power. With more than kMaxDigits digits,
// leading zeros included, `digits` may have overflowed and is not used.
struct Decimal {
  std::uint64_t digits = 0;
  std::ptrdiff_t digitCount = 0;
  std::int64_t power = 0;
};

[[noreturn]] void ThrowOutOfRange() { throw std::out_of_range("stod argument out of range"); }

bool IsZeroLiteral(const char* begin, const char* end) {
  const char* const exponent =
      std::find_if(begin, end, [](char c) { return c == 'e' || c == 'E'; });
  return std::none_of(begin, exponent, [](char c) { return '1' <= c && c <= '9'; });
}

// Converts literals for which the exact way is not possible. The grammar has been checked, so there
// is always a number to convert: the failure that std::stod has for "no conversion"
// (std::invalid_argument) cannot happen.
double ConvertSlowly(const char* begin, const char* end) {
  if (IsZeroLiteral(begin, end)) return *begin == '-' ? -0.0 : 0.0;
  double value = 0;
  const std::from_chars_result result = std::from_chars(begin, end, value);
  // Standard libraries differ in what they store and report at both ends of the range.
  if (result.ec != std::errc() || std::isinf(value) || value == 0) ThrowOutOfRange();
  return value;
}

double Convert(const Decimal& decimal, const char* begin, const char* end) {
  if (decimal.digitCount > kMaxDigits || decimal.digits > kMaxExactInteger) {
    return ConvertSlowly(begin, end);
  }
  const double digits = static_cast<double>(decimal.digits);
  const double signedDigits = *begin == '-' ? -digits : digits;
  if (decimal.power == 0) return signedDigits;
  if (-kMaxExactPower <= decimal.power && decimal.power < 0) {
    return signedDigits / kExactPowersOfTen[-decimal.power];
  }
  if (0 < decimal.power && decimal.power <= kMaxExactPower) {
    return signedDigits * kExactPowersOfTen[decimal.power];
  }
  return ConvertSlowly(begin, end);
}

// Reads all digits from `at` on and returns where they end.
const char* ReadDigits(const char* at, const char* end, Decimal& decimal) {
  const char* const begin = at;
  for (; at != end && IsDigit(*at); ++at) {
    decimal.digits = decimal.digits * 10 + static_cast<unsigned>(*at - '0');
  }
  decimal.digitCount += at - begin;
  return at;
}

// Reads the exponent after the "e" and returns where it ends; null if there is no exponent.
const char* ReadExponent(const char* at, const char* end, Decimal& decimal) {
  const bool negative = at != end && *at == '-';
  if (at != end && (*at == '-' || *at == '+')) ++at;
  if (at == end || !IsDigit(*at)) return nullptr;
  std::int64_t exponent = 0;
  for (; at != end && IsDigit(*at); ++at) {
    if (exponent < kLargeExponent) exponent = exponent * 10 + (*at - '0');
  }
  decimal.power += negative ? -exponent : exponent;
  return at;
}

}  // namespace

const char* ReadNumber(const char* begin, const char* end, double& value) {
  Decimal decimal;
  const char* at = begin;
  if (at != end && *at == '-') ++at;
  const char* const integer = at;
  at = ReadDigits(at, end, decimal);
  if (at == integer) return nullptr;
  if (at != end && *at == '.') {
    const char* const fraction = at + 1;
    at = ReadDigits(fraction, end, decimal);
    if (at == fraction) return nullptr;
    decimal.power = fraction - at;
  }
  if (at != end && (*at == 'e' || *at == 'E')) {
    at = ReadExponent(at + 1, end, decimal);
    if (!at) return nullptr;
  }
  value = Convert(decimal, begin, at);
  return at;
}

}  // namespace wendra
