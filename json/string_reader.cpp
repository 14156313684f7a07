#include "json/string_reader.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <utility>

#include "json/text_scan.h"

namespace wendra {

namespace {

constexpr std::uint32_t kNoCodeUnit = 0xFFFFFFFF;
constexpr std::ptrdiff_t kUnicodeEscapeBytes = 6;  // \u and four digits

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

// How far decoding has come.
struct Progress {
  const char* at;  // in the text; null if the text is not well-formed
  char* to;        // in the scratch buffer
};

// An escape takes at most twelve bytes (a surrogate pair) and gives at most four.
constexpr std::ptrdiff_t kMaxEscapeBytes = 2 * kUnicodeEscapeBytes;
constexpr std::ptrdiff_t kEscapeRoom = 4;

// Decodes the \u escape at `from.at`, or both escapes of a surrogate pair. Deliberate: a lone
// surrogate is kept and becomes three bytes.
Progress DecodeUnicodeEscape(Progress from, const char* end) {
  const auto [at, to] = from;
  const std::uint32_t unit = CodeUnitAt(at, end);
  if (unit == kNoCodeUnit) return {nullptr, to};
  if (IsHighSurrogate(unit)) {
    const std::uint32_t low = CodeUnitAt(at + kUnicodeEscapeBytes, end);
    if (IsLowSurrogate(low)) {
      const std::uint32_t codePoint = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
      return {at + 2 * kUnicodeEscapeBytes, AppendUtf8(to, codePoint)};
    }
  }
  return {at + kUnicodeEscapeBytes, AppendUtf8(to, unit)};
}

// The character that the letter after a backslash stands for; 0 if it stands for none.
constexpr std::array<char, 256> kSimpleEscapes = [] {
  std::array<char, 256> table{};
  table['"'] = '"';
  table['/'] = '/';
  table['\\'] = '\\';
  table['b'] = '\b';
  table['f'] = '\f';
  table['n'] = '\n';
  table['r'] = '\r';
  table['t'] = '\t';
  return table;
}();

// Decodes the escape at `from.at`. At least two bytes of text must be left.
Progress DecodeEscape(Progress from, const char* end) {
  const char simple = kSimpleEscapes[static_cast<unsigned char>(from.at[1])];
  if (simple == 0) return DecodeUnicodeEscape(from, end);
  *from.to = simple;
  return {from.at + 2, from.to + 1};
}

// Decodes the window at `from.at`, and the escape that crosses its end. Stops at the closing quote
// and at a bad escape. kWindowReach bytes of text must be left, and as much space in the scratch
// buffer.
//
// It finds all backslashes before it decodes the first escape. So the processor can begin with the
// next window while it still works on this one.
constexpr std::ptrdiff_t kWindowReach = kWindowBytes + kMaxEscapeBytes + kWindowBytes;

Progress DecodeWindow(Progress from, const char* end) {
  const char* const begin = from.at;
  const char* const windowEnd = begin + kWindowBytes;
  Progress now = from;
  std::uint32_t ends = CopyWindow(begin, now.to, EndsOfPlainText);
  while (ends != 0) {
    const char* const next = begin + FirstBit(ends);
    now = {next, now.to + (next - now.at)};
    if (*next == '"') return now;
    const Progress escape = DecodeEscape(now, end);
    if (!escape.at) return now;
    now = escape;
    CopyWindow(now.at, now.to, EndsOfPlainText);  // the plain text after the escape, and more
    if (now.at >= windowEnd) return now;
    ends &= ~std::uint32_t{0} << (now.at - begin);  // forgets the bytes of the escape
  }
  return {windowEnd, now.to + (windowEnd - now.at)};
}

}  // namespace

const char* StringReader::ReadAny(const char* begin, std::string& content, StringEnd& how) {
  const char* const stop = FindEndOfPlainText(begin, end_);
  if (stop != end_ && *stop == '\\') return ReadEscaped(begin, content, how);
  SetContent(content, begin, stop, end_);
  how = stop == end_ ? StringEnd::kUnterminated : StringEnd::kClosed;
  return stop == end_ ? stop : stop + 1;
}

const char* StringReader::ReadEscaped(const char* at, std::string& content, StringEnd& how) {
  Progress now{at, scratch_};
  const char* windowEnd = at;
  while (now.at >= windowEnd && end_ - now.at >= kWindowReach) {
    now.to = MakeRoom(kWindowReach, now.to, now.at);
    windowEnd = now.at + kWindowBytes;
    now = DecodeWindow(now, end_);
  }
  how = DecodeRest(now.at, now.to);
  content = std::string(scratch_, now.to);
  return now.at;
}

// Decodes the rest of a string: the string ends or has a bad escape at `at`, or there is not enough
// text left for a window.
StringEnd StringReader::DecodeRest(const char*& at, char*& to) {
  for (;;) {
    to = MakeRoom(kBlockBytes + kEscapeRoom, to, at);
    if (end_ - at >= kBlockBytes) {
      const __m128i block = LoadBlock(at);
      StoreBlock(to, block);
      const std::uint32_t ends = EndsOfPlainText(block);
      const std::ptrdiff_t plain = ends != 0 ? FirstBit(ends) : kBlockBytes;
      at += plain;
      to += plain;
      if (ends == 0) continue;
    } else if (at == end_) {
      return StringEnd::kUnterminated;
    } else if (!EndsPlainText(*at)) {
      *to++ = *at++;
      continue;
    }
    if (*at == '"') {
      ++at;
      return StringEnd::kClosed;
    }
    if (end_ - at == 1) {  // a backslash is the last byte of the text
      at = end_;
      return StringEnd::kUnterminated;
    }
    const Progress escape = DecodeEscape({at, to}, end_);
    if (!escape.at) return StringEnd::kBadEscape;
    at = escape.at;
    to = escape.to;
  }
}

// Decoding never makes text longer. So a buffer of the size of the remaining text is large enough
// for all later strings too. Only the part of it that is used costs memory. Returns the new `to`.
char* StringReader::MoveScratchToHeap(char* to, const char* at) {
  const auto used = static_cast<std::size_t>(to - scratch_);
  const std::size_t bytes = used + static_cast<std::size_t>(end_ - at) + kWindowReach;
  std::unique_ptr<char[]> larger(new char[bytes]);
  std::memcpy(larger.get(), scratch_, used);
  heap_ = std::move(larger);
  scratch_ = heap_.get();
  scratchEnd_ = scratch_ + bytes;
  return scratch_ + used;
}

}  // namespace wendra
