// Looks at text 16 bytes at a time (SSE2, which every x86-64 processor has). No load reaches beyond
// the bytes that the caller owns: text may end where readable memory ends.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>

namespace wendra {

inline constexpr std::ptrdiff_t kBlockBytes = 16;

inline __m128i LoadBlock(const char* at) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

inline void StoreBlock(char* to, __m128i block) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
}

inline __m128i EqualTo(__m128i block, char c) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(c)); }

// One bit a byte, the first byte lowest, of a block whose bytes are all 0x00 or 0xFF.
inline std::uint32_t Bits(__m128i block) {
  return static_cast<std::uint32_t>(_mm_movemask_epi8(block));
}

inline int FirstBit(std::uint32_t bits) { return std::countr_zero(bits); }

// The bytes at which plain string content ends in a source text.
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

inline bool IsBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

inline std::uint32_t Blanks(__m128i block) {
  const __m128i spaces = _mm_or_si128(EqualTo(block, ' '), EqualTo(block, '\t'));
  const __m128i breaks = _mm_or_si128(EqualTo(block, '\n'), EqualTo(block, '\r'));
  return Bits(_mm_or_si128(spaces, breaks));
}

// Mostly there is no blank at all, or a line break with its indentation.
inline const char* SkipBlanks(const char* at, const char* end) {
  if (at == end || !IsBlank(*at)) return at;
  for (++at; end - at >= kBlockBytes; at += kBlockBytes) {
    const std::uint32_t others = Blanks(LoadBlock(at)) ^ 0xFFFF;
    if (others != 0) return at + FirstBit(others);
  }
  while (at != end && IsBlank(*at)) ++at;
  return at;
}

}  // namespace wendra
