// Version texts as numbers, and which of two is newer. No text is refused.
#pragma once

#include <compare>
#include <cstdint>
#include <string_view>
#include <vector>

namespace wendra {

using VersionNumbers = std::vector<std::uint32_t>;

// One number for each part between dots, however many there are; "" has one, empty part. A part
// counts with its leading digits modulo 2^32, without any as 0; what follows them is ignored.
VersionNumbers ParseVersion(std::string_view text);

// Position by position; the shorter list goes on with zeros. Deliberate: numbers compare as signed,
// so that 2,147,483,648 and more come before 0.
std::strong_ordering CompareVersions(const VersionNumbers& a, const VersionNumbers& b);

}  // namespace wendra
