// The content of a string on its way into a JSON text: what is copied and what is escaped.
// Everything here writes into a buffer in which the caller has made room.
#pragma once

#include <cstddef>

#include "json/text_scan.h"

namespace wendra {

// How far the writing has come in the content and in the buffer.
struct StringProgress {
  const char* at;
  char* to;
};

// Writes content of less than a block in which nothing needs an escape; null, with nothing done, if
// something might. Takes `size` bytes.
char* WriteShortPlain(const char* at, std::ptrdiff_t size, char* to);

// Writes long content up to the last kMaxTailBytes bytes, or as long as there are
// kWindowRoomBytes bytes before `toEnd`.
StringProgress WriteWindows(StringProgress from, const char* end, const char* toEnd);

// Writes what WriteWindows leaves, which may take kTailRoomBytes bytes; where it ends.
char* WriteTail(StringProgress from, const char* end);

// A character may begin at the end of a window and be three bytes long, and what is plain behind it
// is copied by the window: so many bytes are within reach of one.
inline constexpr std::ptrdiff_t kWindowReach = kWindowBytes + 2 + kWindowBytes;
inline constexpr std::ptrdiff_t kMaxTailBytes = kWindowReach - 1;

// A character is written by copying this many bytes, most of which the next one overwrites.
inline constexpr std::ptrdiff_t kCharacterRoomBytes = 8;
inline constexpr std::ptrdiff_t kWindowRoomBytes = kWindowBytes * (kCharacterRoomBytes + 1);
inline constexpr std::ptrdiff_t kTailRoomBytes = kMaxTailBytes * kCharacterRoomBytes;

}  // namespace wendra
