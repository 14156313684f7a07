// Fuzzes versions from the network: the comparison of any three, one per line, is a consistent
// order, and the numbers agree with those of a second, plainer reader.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "update/version.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

std::string_view TakeLine(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(text.size(), line.size() + 1));
  return line;
}

// The number of the leading digits, summed by their weights from the last digit to the first.
std::uint32_t PlainNumber(std::string_view part) {
  const size_t digits = std::min(part.find_first_not_of("0123456789"), part.size());
  std::uint32_t number = 0;
  std::uint32_t weight = 1;
  for (size_t at = digits; at-- > 0; weight *= 10) {
    number += weight * static_cast<std::uint32_t>(part[at] - '0');
  }
  return number;
}

void CheckNumbers(std::string_view text, const wendra::VersionNumbers& numbers) {
  Require(numbers.size() == static_cast<size_t>(std::count(text.begin(), text.end(), '.')) + 1);
  size_t start = 0;
  for (const std::uint32_t number : numbers) {
    const size_t end = std::min(text.find('.', start), text.size());
    Require(number == PlainNumber(text.substr(start, end - start)));
    start = end + 1;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  wendra::VersionNumbers versions[3];
  for (auto& version : versions) {
    const std::string_view line = TakeLine(text);
    version = wendra::ParseVersion(line);
    CheckNumbers(line, version);
    Require(wendra::CompareVersions(version, version) == 0);
    // Further parts that are 0 do not change the version.
    Require(wendra::CompareVersions(version, wendra::ParseVersion(std::string(line) + ".0.0")) ==
            0);
  }
  const auto compare = [&](int a, int b) {
    return wendra::CompareVersions(versions[a], versions[b]);
  };
  for (int a = 0; a < 3; ++a) {
    for (int b = 0; b < 3; ++b) {
      Require((compare(a, b) < 0) == (compare(b, a) > 0));
      Require((compare(a, b) == 0) == (compare(b, a) == 0));
    }
  }
  if (compare(0, 1) <= 0 && compare(1, 2) <= 0) Require(compare(0, 2) <= 0);
  if (compare(0, 1) == 0) Require((compare(0, 2) < 0) == (compare(1, 2) < 0));
  return 0;
}
