// Scans and copies text in blocks of 16 bytes, with SSE2, which every x86-64 processor has. No
// function reads outside the text that it gets: the text may end where readable memory ends.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace wendra {

inline constexpr std::ptrdiff_t kBlockBytes = 16;

inline __m128i LoadBlock(const char* at) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

inline void StoreBlock(char* to, __m128i block) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
}

inline __m128i EqualTo(__m128i block, char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); }

// One bit for each byte of a block whose bytes are all 0x00 or 0xFF. The lowest bit belongs to the
// first byte.
inline std::uint32_t Bits(__m128i block) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(block));
}

// The number of the lowest bit that is set; 32 if there is none.
inline int FirstBit(std::uint32_t bits) { return std::countr_zero(bits); }

// A text of 4 to 15 bytes as four words of 4 bytes that may overlap. They hold every byte of the
// text and no other byte. All these sizes take the same path: the processor could not predict which
// size comes next.
class FourWords {
 public:
  FourWords(const char* begin, std::ptrdiff_t size)
      : second_(size / 8 * 4),
        last_(size - 4),
        words_(_mm_unpacklo_epi64(Two(begin, begin + second_),
                                  Two(begin + last_ - second_, begin + last_))) {}

  __m128i Block() const { return words_; }

  void Store(char* to) const {
    StoreTwo(words_, to, to + second_);
    StoreTwo(_mm_unpackhi_epi64(words_, words_), to + last_ - second_, to + last_);
  }

 private:
  static __m128i Word(const char* at) {
    int word;
    std::memcpy(&word, at, sizeof word);
    return _mm_cvtsi32_si128(word);
  }
  static __m128i Two(const char* a, const char* b) { return _mm_unpacklo_epi32(Word(a), Word(b)); }
  static void StoreTwo(__m128i words, char* a, char* b) {
    const int first = _mm_cvtsi128_si32(words);
    const int second = _mm_cvtsi128_si32(_mm_srli_epi64(words, 32));
    std::memcpy(a, &first, sizeof first);
    std::memcpy(b, &second, sizeof second);
  }

  // Where the second word begins. The third word begins this far before the last one.
  std::ptrdiff_t second_;
  std::ptrdiff_t last_;
  __m128i words_;
};

// Long text is copied and scanned in windows of this many bytes.
inline constexpr std::ptrdiff_t kWindowBytes = 2 * kBlockBytes;

// Copies the window at `at` to `to`. Returns one bit for each of its bytes, set for those that
// `find` finds. `find` takes a block.
template <typename Find>
std::uint32_t CopyWindow(const char* at, char* to, Find find) {
  const __m128i low = LoadBlock(at);
  const __m128i high = LoadBlock(at + kBlockBytes);
  StoreBlock(to, low);
  StoreBlock(to + kBlockBytes, high);
  return find(low) | find(high) << kBlockBytes;
}

// Whether plain string content ends at this byte of a JSON text.
inline bool EndsPlainText(char c) { return c == '"' || c == '\\'; }

inline std::uint32_t EndsOfPlainText(__m128i block) {
  return Bits(_mm_or_si128(EqualTo(block, '"'), EqualTo(block, '\\')));
}

inline const char* FindEndOfPlainText(const char* at, const char* end) {
  for (; end - at >= kBlockBytes; at += kBlockBytes) {
    if (const std::uint32_t ends = EndsOfPlainText(LoadBlock(at))) return at + FirstBit(ends);
  }
  while (at != end && !EndsPlainText(*at)) ++at;
  return at;
}

inline bool IsWhitespace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

inline std::uint32_t WhitespaceBits(__m128i block) {
  const __m128i spaces = _mm_or_si128(EqualTo(block, ' '), EqualTo(block, '\t'));
  const __m128i breaks = _mm_or_si128(EqualTo(block, '\n'), EqualTo(block, '\r'));
  return Bits(_mm_or_si128(spaces, breaks));
}

inline const char* SkipLongWhitespace(const char* at, const char* end) {
  for (; end - at >= kBlockBytes; at += kBlockBytes) {
    const std::uint32_t others = WhitespaceBits(LoadBlock(at)) ^ 0xFFFF;
    if (others != 0) return at + FirstBit(others);
  }
  while (at != end && IsWhitespace(*at)) ++at;
  return at;
}

// Usually there is no whitespace at all; otherwise one character, or a line break and indentation.
inline const char* SkipWhitespace(const char* at, const char* end) {
  if (at == end || static_cast<unsigned char>(*at) > ' ') return at;
  return SkipLongWhitespace(at, end);
}

}  // namespace wendra
