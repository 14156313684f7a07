// Splits command lines like cmd.exe and like the runtimes of programs. Tests use it to undo the
// program's quoting without Windows. It is written from the rules that cmd.exe and runtimes follow.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// Runtimes differ in how they read "" inside quotes. In all of them it stands for one quote. In new
// runtimes the quoted part goes on; in old ones and in CommandLineToArgvW it ends.
enum class Runtime { kOld, kNew };

// All words of `line`, by the rules for arguments. The first word has its own rules, but they give
// the same result: a file name holds no quote and does not end in a backslash.
inline std::vector<std::wstring> SplitLikeRuntime(std::wstring_view line, Runtime runtime) {
  std::vector<std::wstring> words;
  bool isInWord = false;
  bool isQuoted = false;
  for (size_t i = 0; i < line.size();) {
    if (!isQuoted && (line[i] == L' ' || line[i] == L'\t')) {
      isInWord = false;
      ++i;
      continue;
    }
    if (!isInWord) words.emplace_back();
    isInWord = true;
    std::wstring& word = words.back();
    const size_t end = std::min(line.find_first_not_of(L'\\', i), line.size());
    const size_t backslashes = end - i;
    const bool isBeforeQuote = end < line.size() && line[end] == L'"';
    word.append(isBeforeQuote ? backslashes / 2 : backslashes, L'\\');
    i = end;
    if (!isBeforeQuote) {
      if (backslashes == 0) word += line[i++];
    } else if (backslashes % 2 != 0) {
      word += line[i++];
    } else if (isQuoted && i + 1 < line.size() && line[i + 1] == L'"') {
      word += L'"';
      i += 2;
      isQuoted = runtime == Runtime::kNew;
    } else {
      isQuoted = !isQuoted;
      ++i;
    }
  }
  return words;
}

// Expands the percent signs of a command line like cmd.exe, as if every variable existed. Nothing
// if a variable would be expanded. The expression %cd:~,% is allowed, because it is always empty.
inline std::optional<std::wstring> ExpandLikeShell(std::wstring_view line) {
  std::wstring expanded;
  for (size_t i = 0; i < line.size();) {
    if (line[i] != L'%') {
      expanded += line[i++];
      continue;
    }
    constexpr std::wstring_view kNothing = L"%cd:~,%";
    if (line.substr(i).starts_with(kNothing)) {
      i += kNothing.size();
      continue;
    }
    const size_t end = line.find(L'%', i + 1);
    if (end != line.npos && end != i + 1) return std::nullopt;
    expanded += line[i++];  // no second % follows, or it follows directly: no variable name
  }
  return expanded;
}

// Whether cmd.exe would find more in `text` than the words of one command.
inline bool HoldsOperators(std::wstring_view text) {
  bool isQuoted = false;
  for (const wchar_t c : text) {
    if (c == L'\r' || c == L'\n' || c == L'\0') return true;
    if (c == L'"') isQuoted = !isQuoted;
    if (!isQuoted && std::wstring_view(L"&|<>()^").find(c) != std::wstring_view::npos) return true;
  }
  return false;
}

}  // namespace wendra
