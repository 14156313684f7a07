#include "mcp/stdio/command_line.h"

#include <algorithm>
#include <utility>

namespace wendra {
namespace {

// With /s cmd.exe removes the first and the last quote of the text after /c, and nothing else.
constexpr std::wstring_view kShell = L"cmd.exe /d /s /c \"";
// The same with extensions on and delayed expansion off, whatever the registry says.
constexpr std::wstring_view kSwitchedShell = L"cmd.exe /d /e:on /v:off /s /c \"";

// A percent sign and then %cd:~,%, which expands to an empty part of the current folder's name. The
// first sign then begins no variable, so cmd.exe keeps it. A command line has no other way to write
// a percent sign.
constexpr std::wstring_view kPercent = L"%%cd:~,%";

bool IsOneOf(wchar_t c, std::wstring_view set) { return set.find(c) != std::wstring_view::npos; }

// Whether `c` separates the words of a program's command line.
bool IsWhitespace(wchar_t c) { return IsOneOf(c, L" \t"); }

// Wildcards need no quotes to stay in their word, but some runtimes expand them outside quotes.
bool IsPlainToPrograms(wchar_t c) { return !IsOneOf(c, L" \t\n\v\"*?"); }

bool IsPlainToShell(wchar_t c) {
  return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9') ||
         IsOneOf(c, L"+-./:@\\_");
}

// Writes words that cmd.exe and the started program split alike. They disagree about quotes: to the
// program \" is a character, but to cmd.exe a backslash means nothing and the quote begins or ends
// quoting. So this class knows for each of the two whether it is inside quotes, and writes each
// character where it is safe: a space or a tab inside the program's quotes, a character with a
// meaning to cmd.exe inside its quotes. No character needs both.
class BatchLine {
 public:
  // Always quotes the first word: cmd.exe would end an unquoted file name at a slash.
  void AppendWord(std::wstring_view word) {
    const bool isFirst = text_.empty();
    if (!isFirst) text_ += L' ';
    const bool isPlain = !isFirst && std::ranges::all_of(word, IsPlainToShell);
    if (word.empty() || (!isPlain && !isQuotedToShell_)) Toggle();
    for (const wchar_t c : word) Append(c);
    if (isQuotedToProgram_) Toggle();
    backslashes_ = 0;
  }
  const std::wstring& Text() const { return text_; }

 private:
  void Append(wchar_t c) {
    if (c == L'"') return AppendQuote();
    const bool isSafe =
        IsWhitespace(c) ? isQuotedToProgram_ : isQuotedToShell_ || IsPlainToShell(c);
    if (!isSafe) Toggle();
    if (c == L'%') {
      text_ += kPercent;
    } else {
      text_ += c;
    }
    backslashes_ = c == L'\\' ? backslashes_ + 1 : 0;
  }

  // Begins or ends quoting for both.
  void Toggle() {
    DoubleBackslashes();
    text_ += L'"';
    isQuotedToProgram_ = !isQuotedToProgram_;
    isQuotedToShell_ = !isQuotedToShell_;
  }

  void AppendQuote() {
    DoubleBackslashes();
    text_ += L"\\\"";
    isQuotedToShell_ = !isQuotedToShell_;
  }

  // A backslash has a special meaning only in front of a quote.
  void DoubleBackslashes() { text_.append(std::exchange(backslashes_, 0), L'\\'); }

  std::wstring text_;
  size_t backslashes_ = 0;  // at the end of `text_`
  bool isQuotedToProgram_ = false;
  bool isQuotedToShell_ = false;
};

bool HoldsAny(const std::vector<std::wstring>& words, std::wstring_view set) {
  return std::ranges::any_of(
      words, [&](const std::wstring& word) { return word.find_first_of(set) != word.npos; });
}

std::wstring ProgramLine(const std::vector<std::wstring>& words) {
  std::wstring line;
  for (const std::wstring& word : words) line += (line.empty() ? L"" : L" ") + QuoteArgument(word);
  return line;
}

std::wstring BatchFileLine(const std::vector<std::wstring>& words, ShellSettings shell) {
  BatchLine line;
  for (const std::wstring& word : words) line.AppendWord(word);
  const auto start = shell == ShellSettings::kUsual ? kShell : kSwitchedShell;
  return std::wstring(start) + line.Text() + L'"';
}

}  // namespace

std::wstring QuoteArgument(std::wstring_view argument) {
  if (!argument.empty() && std::ranges::all_of(argument, IsPlainToPrograms)) {
    return std::wstring(argument);
  }
  std::wstring quoted = L"\"";
  size_t backslashes = 0;  // doubled in front of a quote, the closing one included
  for (const wchar_t c : argument) {
    if (c == L'"') quoted.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted.append(backslashes, L'\\') + L'"';
}

bool IsBatchScript(std::wstring_view path) {
  // The file system drops dots and spaces at the end of a name: "x.cmd. ." is x.cmd.
  path = path.substr(0, path.find_last_not_of(L". ") + 1);
  if (path.size() < 4) return false;
  std::wstring extension(path.substr(path.size() - 4));
  for (wchar_t& c : extension) {
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
  }
  return extension == L".cmd" || extension == L".bat";
}

std::optional<std::wstring> ChildCommandLine(std::wstring_view program,
                                             const std::vector<std::wstring>& arguments,
                                             ShellSettings shell) {
  const bool isBatch = IsBatchScript(program);
  std::vector<std::wstring> words = {std::wstring(program)};
  words.insert(words.end(), arguments.begin(), arguments.end());
  using namespace std::string_view_literals;
  if (HoldsAny(words, isBatch ? L"\0\r\n"sv : L"\0"sv)) return std::nullopt;
  return isBatch ? BatchFileLine(words, shell) : ProgramLine(words);
}

}  // namespace wendra
