// The string of a JSON text: from its opening quote to decoded UTF-8.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

namespace wendra {

enum class StringEnd {
  kClosed,        // `at` is behind the closing quote
  kUnterminated,  // `at` is the end of the text; a backslash with nothing behind it counts as read
  kBadEscape,     // `at` is the backslash, so that whoever reads on fails there
};

// Reads the strings of one text, one after the other.
class StringReader {
 public:
  // Reads the string whose opening quote is at `at` into `content`, which must be empty.
  StringEnd Read(const char*& at, const char* end, std::string& content);

 private:
  StringEnd ReadEscaped(const char*& at, const char* end, std::string& content);
  char* Grow(char* to);

  static constexpr std::size_t kFirstBytes = 512;

  // Escaped strings are decoded here and then copied once, into exactly the memory that they need.
  char first_[kFirstBytes];
  std::unique_ptr<char[]> heap_;
  char* scratch_ = first_;
  std::size_t scratchBytes_ = kFirstBytes;
};

}  // namespace wendra
