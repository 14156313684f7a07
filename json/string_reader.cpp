#include "json/string_reader.h"

#include <cstdint>
#include <cstring>

#include "json/text_scan.h"

namespace wendra {

namespace {

// Room that is made sure of before each step: two blocks, or one escape (at most four bytes).
constexpr std::ptrdiff_t kStepBytes = 2 * kBlockBytes;

constexpr std::uint32_t kNoCodeUnit = 0xFFFFFFFF;
constexpr std::ptrdiff_t kUnicodeEscapeBytes = 6;  // of \u and its four digits

int HexDigit(char c) {
  if ('0' <= c && c <= '9') return c - '0';
  if ('a' <= c && c <= 'f') return c - 'a' + 10;
  if ('A' <= c && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The code unit of the \u escape at `at`, or kNoCodeUnit if there is none.
std::uint32_t CodeUnitAt(const char* at, const char* end) {
  if (end - at < kUnicodeEscapeBytes || at[0] != '\\' || at[1] != 'u') return kNoCodeUnit;
  std::uint32_t unit = 0;
  for (int i = 2; i < kUnicodeEscapeBytes; ++i) {
    const int digit = HexDigit(at[i]);
    if (digit < 0) return kNoCodeUnit;
    unit = unit * 16 + static_cast<std::uint32_t>(digit);
  }
  return unit;
}

bool IsHighSurrogate(std::uint32_t unit) { return 0xD800 <= unit && unit <= 0xDBFF; }
bool IsLowSurrogate(std::uint32_t unit) { return 0xDC00 <= unit && unit <= 0xDFFF; }

char* AppendUtf8(char* to, std::uint32_t codePoint) {
  const auto put = [&to](std::uint32_t byte) { *to++ = static_cast<char>(byte); };
  if (codePoint < 0x80) {
    put(codePoint);
  } else if (codePoint < 0x800) {
    put(0xC0 | codePoint >> 6);
    put(0x80 | (codePoint & 0x3F));
  } else if (codePoint < 0x10000) {
    put(0xE0 | codePoint >> 12);
    put(0x80 | (codePoint >> 6 & 0x3F));
    put(0x80 | (codePoint & 0x3F));
  } else {
    put(0xF0 | codePoint >> 18);
    put(0x80 | (codePoint >> 12 & 0x3F));
    put(0x80 | (codePoint >> 6 & 0x3F));
    put(0x80 | (codePoint & 0x3F));
  }
  return to;
}

// Decodes the \u escape at `at`, two of them if they are a surrogate pair. A lone surrogate is
// kept and becomes three bytes, deliberately. False, with nothing changed, if it is malformed.
bool DecodeUnicodeEscape(const char*& at, const char* end, char*& to) {
  const std::uint32_t unit = CodeUnitAt(at, end);
  if (unit == kNoCodeUnit) return false;
  at += kUnicodeEscapeBytes;
  if (IsHighSurrogate(unit)) {
    const std::uint32_t low = CodeUnitAt(at, end);
    if (IsLowSurrogate(low)) {
      at += kUnicodeEscapeBytes;
      to = AppendUtf8(to, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
      return true;
    }
  }
  to = AppendUtf8(to, unit);
  return true;
}

// What the letter behind a backslash stands for; 0 for none.
char SimpleEscape(char letter) {
  switch (letter) {
    case '"':
    case '/':
    case '\\':
      return letter;
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    default:
      return 0;
  }
}

// Decodes the escape at `at`, of which at least two bytes are there.
bool DecodeEscape(const char*& at, const char* end, char*& to) {
  const char simple = SimpleEscape(at[1]);
  if (simple == 0) return DecodeUnicodeEscape(at, end, to);
  *to++ = simple;
  at += 2;
  return true;
}

}  // namespace

StringEnd StringReader::Read(const char*& at, const char* end, std::string& content) {
  const char* const begin = at + 1;
  const char* const stop = FindEndOfPlainText(begin, end);
  if (stop != end && *stop == '\\') return ReadEscaped(at, end, content);
  content = std::string(begin, stop);
  at = stop;
  if (at == end) return StringEnd::kUnterminated;
  ++at;
  return StringEnd::kClosed;
}

StringEnd StringReader::ReadEscaped(const char*& at, const char* end, std::string& content) {
  char* to = scratch_;
  const auto finish = [&](StringEnd how) {
    content = std::string(scratch_, to);
    return how;
  };
  for (++at;;) {
    if (scratch_ + scratchBytes_ - to < kStepBytes) to = Grow(to);
    if (end - at >= kStepBytes) {
      const __m128i low = LoadBlock(at);
      const __m128i high = LoadBlock(at + kBlockBytes);
      StoreBlock(to, low);
      StoreBlock(to + kBlockBytes, high);
      const std::uint32_t ends = EndsOfPlainText(low) | EndsOfPlainText(high) << kBlockBytes;
      const std::ptrdiff_t plain = ends ? FirstBit(ends) : kStepBytes;
      at += plain;
      to += plain;
      if (!ends) continue;
    } else if (at == end) {
      return finish(StringEnd::kUnterminated);
    } else if (!EndsPlainText(*at)) {
      *to++ = *at++;
      continue;
    }
    if (*at == '"') {
      ++at;
      return finish(StringEnd::kClosed);
    }
    if (end - at == 1) {
      at = end;
      return finish(StringEnd::kUnterminated);
    }
    // A decoded escape takes at most four bytes, the blocks before it at most all but one.
    if (scratch_ + scratchBytes_ - to < kStepBytes) to = Grow(to);
    if (!DecodeEscape(at, end, to)) return finish(StringEnd::kBadEscape);
  }
}

// Makes the scratch twice as large; `to`, in its new place.
char* StringReader::Grow(char* to) {
  const std::size_t used = static_cast<std::size_t>(to - scratch_);
  std::unique_ptr<char[]> larger(new char[scratchBytes_ * 2]);
  std::memcpy(larger.get(), scratch_, used);
  heap_ = std::move(larger);
  scratch_ = heap_.get();
  scratchBytes_ *= 2;
  return scratch_ + used;
}

}  // namespace wendra
