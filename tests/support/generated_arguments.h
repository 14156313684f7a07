// Generates unusual command-line arguments, full of special characters. The same seed gives the
// same arguments.
#pragma once

#include <iterator>
#include <random>
#include <string>
#include <string_view>

namespace wendra {

inline std::wstring GeneratedArgument(std::mt19937& random) {
  static constexpr std::wstring_view kPieces[] = {
      L"\"",
      L"\"",
      L"\\",
      L"\\",
      L"\\\\",
      L"%",
      L"%%",
      L"!",
      L"^",
      L"^^",
      L"&",
      L"&&",
      L"|",
      L"||",
      L"<",
      L">",
      L"(",
      L")",
      L" ",
      L"  ",
      L"\t",
      L"'",
      L"`",
      L"~",
      L",",
      L";",
      L"=",
      L"*",
      L"?",
      L"@",
      L":",
      L"/",
      L"\n",
      L"\r",
      L"\v",
      L"a",
      L"bc",
      L"1",
      L"ü",
      L"日本",
      L"%PATH%",
      L"%*",
      L"%1",
      L"%~1",
      L"!x!",
      L"{}",
      L"%cd:~,",
      L"%COMSPEC%",
      L"& echo x > pwned.txt",
      L"\"&echo x>pwned.txt&\"",
      L" -y ",
      L"C:\\dir\\",
  };
  std::wstring argument;
  for (auto pieces = random() % 10; pieces > 0; --pieces) {
    argument += kPieces[random() % std::size(kPieces)];
  }
  return argument;
}

inline std::wstring WithoutLineBreaks(std::wstring text) {
  std::erase_if(text, [](wchar_t c) { return c == L'\r' || c == L'\n'; });
  return text;
}

// `text` for the message of a failed test: a dot for each character that is not printable ASCII.
inline std::string Printable(std::wstring_view text) {
  std::string printable;
  for (const wchar_t c : text) printable += c >= L' ' && c < 0x7F ? static_cast<char>(c) : '.';
  return printable;
}

}  // namespace wendra
