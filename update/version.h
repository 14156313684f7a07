// Reads version texts as numbers and compares them. Every text is accepted. Pure.
#pragma once

#include <compare>
#include <cstdint>
#include <string_view>
#include <vector>

namespace wendra {

using VersionNumbers = std::vector<std::uint32_t>;

// One number for each part of `text` between dots, without a limit on the number of parts; "" has
// one part. The number is the value of the part's leading digits modulo 2^32, or 0 if it has none;
// the rest of the part is ignored.
VersionNumbers ParseVersion(std::string_view text);

// Compares number by number; numbers that one list lacks count as 0. Deliberate: numbers compare as
// signed 32-bit numbers, so 2,147,483,648 and more come before 0.
std::strong_ordering CompareVersions(const VersionNumbers& a, const VersionNumbers& b);

}  // namespace wendra
