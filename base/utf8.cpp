#include "base/utf8.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace wendra {
namespace {

// The length in bytes of the sequence that begins with `lead`; 0 if `lead` begins no sequence of
// several bytes.
size_t SequenceLength(unsigned char lead) {
  if ((lead & 0xE0) == 0xC0) return 2;
  if ((lead & 0xF0) == 0xE0) return 3;
  if ((lead & 0xF8) == 0xF0) return 4;
  return 0;
}

// The code point of a complete sequence; 0 if one of the bytes after the first is no continuation
// byte.
std::uint32_t Decode(std::string_view sequence) {
  const auto byte = [&](size_t at) { return static_cast<unsigned char>(sequence[at]); };
  std::uint32_t value = byte(0) & (0xFFu >> (sequence.size() + 1));
  for (size_t i = 1; i < sequence.size(); ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    value = value << 6 | (byte(i) & 0x3Fu);
  }
  return value;
}

// How many ASCII bytes `text` begins with, counted in words of 8 bytes. This is the fast way: most
// text is ASCII only.
size_t AsciiWords(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  size_t bytes = 0;
  for (std::uint64_t word = 0; text.size() - bytes >= sizeof(word); bytes += sizeof(word)) {
    std::memcpy(&word, text.data() + bytes, sizeof(word));
    if (word & kHighBits) break;
  }
  return bytes;
}

}  // namespace

bool IsWellFormedUtf8(std::string_view text) {
  // By length of the sequence: a smaller code point would be overlong.
  constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  for (size_t at = 0; at < text.size();) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
      at += std::max<size_t>(1, AsciiWords(text.substr(at)));
      continue;
    }
    const size_t length = SequenceLength(lead);
    if (length == 0 || text.size() - at < length) return false;
    if (Decode(text.substr(at, length)) < kSmallest[length]) return false;
    at += length;
  }
  return true;
}

bool HoldsControlCharacter(std::string_view text) {
  char before = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) return true;
    if (before == '\xC2' && byte >= 0x80 && byte <= 0x9F) return true;
    before = c;
  }
  return false;
}

}  // namespace wendra
