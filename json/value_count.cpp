#include "json/value_count.h"

#include "json/text_scan.h"

namespace wendra {
namespace {

// The position after the string whose opening quote is at `at`.
size_t SkipString(std::string_view text, size_t at) {
  for (++at; at < text.size() && text[at] != '"'; ++at) {
    if (text[at] == '\\') ++at;
  }
  return at + 1;
}

}  // namespace

bool HoldsMoreValues(std::string_view text, size_t max) {
  if (text.size() <= max) return false;  // each value takes at least one byte
  // One for the outermost value, and one more for each comma and each container that is not empty.
  size_t count = 1;
  bool isFresh = false;  // nothing but whitespace has followed the last opening bracket
  for (size_t at = 0; at < text.size() && count <= max;) {
    const char c = text[at];
    if (IsWhitespace(c)) {
      ++at;
      continue;
    }
    if (isFresh && c != ']' && c != '}') ++count;
    isFresh = c == '[' || c == '{';
    if (c == ',') ++count;
    at = c == '"' ? SkipString(text, at) : at + 1;
  }
  return count > max;
}

}  // namespace wendra
