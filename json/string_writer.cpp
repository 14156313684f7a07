#include "json/string_writer.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace wendra {

namespace {

// The first byte of U+2028 and U+2029, E2 80 A8 and E2 80 A9.
constexpr char kSeparatorLead = '\xE2';

// How one byte of content is written.
struct Written {
  char bytes[7];
  std::uint8_t size;  // used bytes of `bytes`; 0 if it depends on the bytes that follow
};
constexpr std::ptrdiff_t kLongestEscape = 6;  // \u001f

constexpr std::array<Written, 256> kWritten = [] {
  std::array<Written, 256> table{};
  constexpr char kHexDigits[] = "0123456789abcdef";
  for (unsigned byte = 0; byte < table.size(); ++byte) {
    table[byte] = {{static_cast<char>(byte)}, 1};
  }
  for (unsigned control = 0; control < 0x20; ++control) {
    table[control] = {{'\\', 'u', '0', '0', kHexDigits[control >> 4], kHexDigits[control & 0xF]},
                      kLongestEscape};
  }
  table[static_cast<unsigned char>(kSeparatorLead)] = {{kSeparatorLead}, 0};
  table['\b'] = {{'\\', 'b'}, 2};
  table['\t'] = {{'\\', 't'}, 2};
  table['\n'] = {{'\\', 'n'}, 2};
  table['\f'] = {{'\\', 'f'}, 2};
  table['\r'] = {{'\\', 'r'}, 2};
  table['"'] = {{'\\', '"'}, 2};
  table['\\'] = {{'\\', '\\'}, 2};
  return table;
}();

const Written& WrittenAs(char c) { return kWritten[static_cast<unsigned char>(c)]; }

// Whether a byte must be escaped, or may be the first byte of a character that must be.
bool NeedsCare(char c) { return WrittenAs(c).size != 1; }

std::uint32_t NeedCare(__m128i block) {
  const __m128i controls = _mm_cmpeq_epi8(_mm_min_epu8(block, _mm_set1_epi8(0x1F)), block);
  const __m128i marks = _mm_or_si128(EqualTo(block, '"'), EqualTo(block, '\\'));
  return Bits(_mm_or_si128(_mm_or_si128(controls, marks), EqualTo(block, kSeparatorLead)));
}

static_assert(sizeof(Written) == kCharacterRoomBytes);

// Writes the character at `from.at`, escaped if necessary. The processor cannot predict where
// escapes come, so the usual path has no branch that depends on them.
StringProgress WriteCharacter(StringProgress from, const char* end) {
  const auto [at, to] = from;
  const Written& written = WrittenAs(*at);
  std::memcpy(to, &written, sizeof written);  // copies all of it: a fixed size is faster
  if (written.size != 0) return {at + 1, to + written.size};
  if (end - at >= 3 && at[1] == '\x80' && (at[2] == '\xA8' || at[2] == '\xA9')) {
    std::memcpy(to, at[2] == '\xA8' ? "\\u2028" : "\\u2029", kLongestEscape);
    return {at + 3, to + kLongestEscape};
  }
  return {at + 1, to + 1};
}

// Writes the window at `from.at`.
// It finds all bytes that need care before it writes the first of them. So the processor can begin
// with the next window while it still works on this one.
StringProgress WriteWindow(StringProgress from, const char* end) {
  const char* const begin = from.at;
  const char* const windowEnd = begin + kWindowBytes;
  StringProgress now = from;
  std::uint32_t careful = CopyWindow(from.at, from.to, NeedCare);
  for (; careful != 0; careful &= careful - 1) {
    const char* const next = begin + FirstBit(careful);
    now = WriteCharacter({next, now.to + (next - now.at)}, end);
    CopyWindow(now.at, now.to, NeedCare);  // the plain text after it, and more
  }
  if (now.at >= windowEnd) return now;
  return {windowEnd, now.to + (windowEnd - now.at)};
}

}  // namespace

char* WriteShortPlain(const char* at, std::ptrdiff_t size, char* to) {
  if (size >= 4) {
    const FourWords words(at, size);
    if (NeedCare(words.Block()) != 0) return nullptr;
    words.Store(to);
  } else if (size > 0) {
    const char first = at[0];
    const char middle = at[size / 2];
    const char last = at[size - 1];
    if (NeedsCare(first) || NeedsCare(middle) || NeedsCare(last)) return nullptr;
    to[0] = first;
    to[size / 2] = middle;
    to[size - 1] = last;
  }
  return to + size;
}

StringProgress WriteWindows(StringProgress from, const char* end, const char* toEnd) {
  StringProgress now = from;
  while (end - now.at > kMaxTailBytes && toEnd - now.to >= kWindowRoomBytes) {
    now = WriteWindow(now, end);
  }
  return now;
}

char* WriteTail(StringProgress from, const char* end) {
  StringProgress now = from;
  while (end - now.at >= kBlockBytes) {
    const __m128i block = LoadBlock(now.at);
    StoreBlock(now.to, block);
    const std::uint32_t careful = NeedCare(block);
    const std::ptrdiff_t plain = careful != 0 ? FirstBit(careful) : kBlockBytes;
    now = {now.at + plain, now.to + plain};
    if (careful != 0) now = WriteCharacter(now, end);
  }
  if (char* const done = WriteShortPlain(now.at, end - now.at, now.to)) return done;
  while (now.at != end) now = WriteCharacter(now, end);
  return now.to;
}

}  // namespace wendra
