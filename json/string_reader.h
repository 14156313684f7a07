// Reads the strings of a JSON text and decodes their escapes to UTF-8.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "json/text_scan.h"

namespace wendra {

// How and where reading a string stopped.
enum class StringEnd {
  kClosed,        // after the closing quote
  kUnterminated,  // at the end of the text; a backslash as its last byte counts as read
  kBadEscape,     // at the backslash of the escape
};

// A std::string holds this many bytes without an allocation, in each standard library in use.
inline constexpr std::ptrdiff_t kShortStringBytes = 15;

// Stores the `size` bytes at `begin` in `empty`. `size` is at most kShortStringBytes, and that many
// bytes must be readable from `begin` on. To copy a fixed number of bytes and cut off the rest
// takes a few instructions; to copy the right number takes one or two calls.
inline void SetShortContent(std::string& empty, const char* begin, std::ptrdiff_t size) {
  std::destroy_at(&empty);
  std::construct_at(&empty, begin, begin + kShortStringBytes);
  empty.erase(static_cast<std::size_t>(size));
}

// Stores [begin, end) in `empty`. It is a part of a text that ends at `textEnd`.
inline void SetContent(std::string& empty, const char* begin, const char* end,
                       const char* textEnd) {
  if (end - begin <= kShortStringBytes && textEnd - begin >= kShortStringBytes) {
    SetShortContent(empty, begin, end - begin);
  } else {
    empty = std::string(begin, end);  // takes exactly the memory it needs; assign() may take more
  }
}

// Reads the strings of one text, one after the other.
class StringReader {
 public:
  explicit StringReader(const char* textEnd) : end_(textEnd) {}

  // Reads the string whose opening quote is at `at` into `content`, which must be empty. Returns
  // where reading stopped; `how` says why.
  const char* Read(const char* at, std::string& content, StringEnd& how) {
    const char* const begin = at + 1;
    if (end_ - begin >= kBlockBytes) {  // most strings are short and plain
      const int length = FirstBit(EndsOfPlainText(LoadBlock(begin)));
      if (length < kBlockBytes && begin[length] == '"') {
        SetShortContent(content, begin, length);
        how = StringEnd::kClosed;
        return begin + length + 1;
      }
    }
    return ReadAny(begin, content, how);
  }

 private:
  const char* ReadAny(const char* begin, std::string& content, StringEnd& how);
  const char* ReadEscaped(const char* at, std::string& content, StringEnd& how);
  StringEnd DecodeRest(const char*& at, char*& to);
  // Makes space for `bytes` bytes from `to` on, and returns the new `to`: the scratch buffer may
  // move. `at` is the position in the text.
  char* MakeRoom(std::ptrdiff_t bytes, char* to, const char* at) {
    return scratchEnd_ - to >= bytes ? to : MoveScratchToHeap(to, at);
  }
  char* MoveScratchToHeap(char* to, const char* at);

  static constexpr std::size_t kFirstBytes = 512;

  const char* const end_;
  // The scratch buffer: strings with escapes are decoded here, then copied once into exactly the
  // memory that they need.
  char first_[kFirstBytes];
  std::unique_ptr<char[]> heap_;
  char* scratch_ = first_;
  char* scratchEnd_ = first_ + kFirstBytes;
};

}  // namespace wendra
