#include "win/wide.h"

#include <algorithm>

#include <emmintrin.h>
#include <windows.h>

namespace wendra {
namespace {

bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

// Widens the ASCII characters at the start of `text` and returns how many there are. Most text for
// the page is ASCII only, and the system's conversion is many times slower for it.
size_t WidenAscii(std::string_view text, wchar_t* out) {
  const __m128i zero = _mm_setzero_si128();
  size_t at = 0;
  for (; text.size() - at >= 16; at += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
    if (_mm_movemask_epi8(bytes) != 0) break;
    auto* to = reinterpret_cast<__m128i*>(out + at);
    _mm_storeu_si128(to, _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi8(bytes, zero));
  }
  for (; at < text.size() && IsAscii(text[at]); ++at) out[at] = static_cast<wchar_t>(text[at]);
  return at;
}

}  // namespace

std::wstring Widen(std::string_view utf8) {
  // One pass is enough: a UTF-8 text never has more UTF-16 units than bytes.
  std::wstring wide(utf8.size(), L'\0');
  size_t units = 0;
  while (!utf8.empty()) {
    const size_t ascii = WidenAscii(utf8, wide.data() + units);
    units += ascii;
    utf8.remove_prefix(ascii);
    // An ASCII character ends every sequence, well-formed or not. So each run of other bytes can be
    // converted by itself.
    const auto end = std::find_if(utf8.begin(), utf8.end(), IsAscii);
    const auto run = static_cast<int>(end - utf8.begin());
    if (run == 0) continue;
    units += static_cast<size_t>(
        MultiByteToWideChar(CP_UTF8, 0, utf8.data(), run, wide.data() + units, run));
    utf8.remove_prefix(static_cast<size_t>(run));
  }
  wide.resize(units);
  return wide;
}

std::string Narrow(std::wstring_view utf16) {
  if (utf16.empty()) return {};
  const int units = static_cast<int>(utf16.size());
  const int bytes =
      WideCharToMultiByte(CP_UTF8, 0, utf16.data(), units, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, utf16.data(), units, text.data(), bytes, nullptr, nullptr);
  return text;
}

}  // namespace wendra
