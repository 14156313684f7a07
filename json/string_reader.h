// The string of a JSON text: from its opening quote to decoded UTF-8.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "json/text_scan.h"

namespace wendra {

enum class StringEnd {
  kClosed,        // behind the closing quote
  kUnterminated,  // at the end of the text; a backslash with nothing behind it counts as read
  kBadEscape,     // at the backslash, so that whoever reads on fails there
};

// As many bytes as a std::string holds without an allocation, with every library in use.
inline constexpr std::ptrdiff_t kShortStringBytes = 15;

// Makes `empty` hold the `size` bytes at `begin`, at most kShortStringBytes, behind which so many
// can be read in any case. Copying a fixed number of bytes and cutting off what is too much is a
// few instructions, where copying the right number is a call or two.
inline void SetShortContent(std::string& empty, const char* begin, std::ptrdiff_t size) {
  std::destroy_at(&empty);
  std::construct_at(&empty, begin, begin + kShortStringBytes);
  empty.erase(static_cast<std::size_t>(size));
}

// Makes `empty` hold [begin, end), a part of a text that ends at `textEnd`.
inline void SetContent(std::string& empty, const char* begin, const char* end,
                       const char* textEnd) {
  if (end - begin <= kShortStringBytes && textEnd - begin >= kShortStringBytes) {
    SetShortContent(empty, begin, end - begin);
  } else {
    empty = std::string(begin, end);  // exactly the memory that it needs; assign() may take more
  }
}

// Reads the strings of one text, one after the other.
class StringReader {
 public:
  explicit StringReader(const char* textEnd) : end_(textEnd) {}

  // Reads the string whose opening quote is at `at` into `content`, which must be empty.
  // Returns where it stopped, and how in `how`.
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
  // Room for `bytes` bytes behind `to`, which may have to move; `at` is what comes next.
  char* MakeRoom(std::ptrdiff_t bytes, char* to, const char* at) {
    return scratchEnd_ - to >= bytes ? to : MoveScratchToHeap(to, at);
  }
  char* MoveScratchToHeap(char* to, const char* at);

  static constexpr std::size_t kFirstBytes = 512;

  const char* const end_;
  // Escaped strings are decoded here and then copied once, into exactly the memory that they need.
  char first_[kFirstBytes];
  std::unique_ptr<char[]> heap_;
  char* scratch_ = first_;
  char* scratchEnd_ = first_ + kFirstBytes;
};

}  // namespace wendra
