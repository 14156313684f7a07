#include "base/base64.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace wendra {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The two characters for each value of 12 bits: half as many look-ups as with 6 bits, and twice as
// fast.
using CharacterPairs = std::array<std::array<char, 2>, 4096>;
constexpr CharacterPairs MakePairs() {
  CharacterPairs pairs{};
  for (size_t i = 0; i < pairs.size(); ++i) pairs[i] = {kAlphabet[i >> 6], kAlphabet[i & 63]};
  return pairs;
}
constexpr CharacterPairs kPairs = MakePairs();

std::uint32_t Byte(std::string_view bytes, size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

}  // namespace

std::string EncodeBase64(std::string_view bytes) {
  std::string text((bytes.size() + 2) / 3 * 4, '=');
  char* out = text.data();
  size_t at = 0;
  for (; at + 3 <= bytes.size(); at += 3, out += 4) {
    const std::uint32_t group =
        Byte(bytes, at) << 16 | Byte(bytes, at + 1) << 8 | Byte(bytes, at + 2);
    std::memcpy(out, kPairs[group >> 12].data(), 2);
    std::memcpy(out + 2, kPairs[group & 4095].data(), 2);
  }
  if (const size_t left = bytes.size() - at; left > 0) {
    const std::uint32_t second = left == 2 ? Byte(bytes, at + 1) : 0;
    const std::uint32_t group = Byte(bytes, at) << 16 | second << 8;
    std::memcpy(out, kPairs[group >> 12].data(), 2);
    if (left == 2) out[2] = kAlphabet[group >> 6 & 63];
  }
  return text;
}

}  // namespace wendra
