#include "base/ascii.h"

namespace wendra {

std::string LowerAscii(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string_view TrimWhitespace(std::string_view text) {
  constexpr std::string_view kWhitespace = " \t\r\n";
  const size_t first = text.find_first_not_of(kWhitespace);
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(kWhitespace);
  return text.substr(first, last - first + 1);
}

}  // namespace wendra
