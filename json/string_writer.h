// Writes the content of a string into a JSON text, and escapes the characters that must be escaped.
// All functions write into a buffer in which the caller has made enough space.
#pragma once

#include <cstddef>

#include "json/text_scan.h"

namespace wendra {

// How far writing has come.
struct StringProgress {
  const char* at;  // in the content
  char* to;        // in the buffer
};

// Writes content that is shorter than a block and needs no escape. Takes `size` bytes of the buffer
// and returns their end. Null, and nothing is written, if some byte may need an escape.
char* WriteShortPlain(const char* at, std::ptrdiff_t size, char* to);

// Writes long content. Stops when at most kMaxTailBytes bytes of content are left, or when there is
// space for fewer than kWindowRoomBytes bytes before `toEnd`.
StringProgress WriteWindows(StringProgress from, const char* end, const char* toEnd);

// Writes the content that WriteWindows leaves, and returns the end of it in the buffer. Takes at
// most kTailRoomBytes bytes.
char* WriteTail(StringProgress from, const char* end);

// How many bytes of content one window may read: its own bytes, two more for a character of three
// bytes that begins in the last one, and the window that is copied after that character.
inline constexpr std::ptrdiff_t kWindowReach = kWindowBytes + 2 + kWindowBytes;
inline constexpr std::ptrdiff_t kMaxTailBytes = kWindowReach - 1;

// This many bytes are copied for each character. The next character overwrites those that are not
// used.
inline constexpr std::ptrdiff_t kCharacterRoomBytes = 8;
inline constexpr std::ptrdiff_t kWindowRoomBytes = kWindowBytes * (kCharacterRoomBytes + 1);
inline constexpr std::ptrdiff_t kTailRoomBytes = kMaxTailBytes * kCharacterRoomBytes;

}  // namespace wendra
