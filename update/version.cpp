#include "update/version.h"

#include <algorithm>

namespace wendra {
namespace {

std::uint32_t LeadingNumber(std::string_view part) {
  std::uint32_t number = 0;
  for (const char c : part) {
    if (c < '0' || c > '9') break;
    number = number * 10 + static_cast<std::uint32_t>(c - '0');
  }
  return number;
}

std::int32_t SignedAt(const VersionNumbers& numbers, size_t at) {
  return at < numbers.size() ? static_cast<std::int32_t>(numbers[at]) : 0;
}

}  // namespace

VersionNumbers ParseVersion(std::string_view text) {
  VersionNumbers numbers;
  for (;;) {
    const size_t dot = text.find('.');
    numbers.push_back(LeadingNumber(text.substr(0, dot)));
    if (dot == std::string_view::npos) return numbers;
    text.remove_prefix(dot + 1);
  }
}

std::strong_ordering CompareVersions(const VersionNumbers& a, const VersionNumbers& b) {
  const size_t count = std::max(a.size(), b.size());
  for (size_t at = 0; at < count; ++at) {
    const auto order = SignedAt(a, at) <=> SignedAt(b, at);
    if (std::is_neq(order)) return order;
  }
  return std::strong_ordering::equal;
}

}  // namespace wendra
