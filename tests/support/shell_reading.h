// How a command line is read by those who get it: cmd.exe, and the runtimes of programs. Written
// from the rules that these follow, to undo what our quoting does without a Windows at hand.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// Runtimes disagree about "" inside quotes: to new ones it is a quote and quoting goes on, to old
// ones and CommandLineToArgvW it is a quote and quoting ends.
enum class Runtime { kOld, kNew };

// All words of `line` by the rules for arguments. (The first word has rules of its own; a file name
// holds no quote, and ends in no backslash, so they do not differ there.)
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

// What cmd.exe makes of the percent signs on a command line, where every variable exists: nothing
// when it would bring one in. The one expression that is allowed is empty by its nature.
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
    expanded += line[i++];  // begins no name that ends, or a name of no length
  }
  return expanded;
}

// Whether cmd.exe sees more in `text` than one command and its words.
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
