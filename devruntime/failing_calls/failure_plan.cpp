#include "devruntime/failing_calls/failure_plan.h"

#include <charconv>
#include <limits>
#include <optional>

namespace wendra {
namespace {

constexpr std::string_view kSeparators = " ,\t\r\n";
constexpr unsigned long kNoEnd = std::numeric_limits<unsigned long>::max();

std::optional<unsigned long> ParseNumber(std::string_view text) {
  unsigned long number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

// Removes the first `mark` and the text after it, and gives that text; nothing without a mark.
std::optional<std::string_view> CutOff(std::string_view& text, char mark) {
  const size_t at = text.find(mark);
  if (at == std::string_view::npos) return std::nullopt;
  const std::string_view rest = text.substr(at + 1);
  text = text.substr(0, at);
  return rest;
}

}  // namespace

FailurePlan::FailurePlan(std::string_view text) {
  for (;;) {
    const size_t start = text.find_first_not_of(kSeparators);
    if (start == std::string_view::npos) return;
    text.remove_prefix(start);
    const std::string_view word = text.substr(0, text.find_first_of(kSeparators));
    words_.push_back(ParseWord(word));
    text.remove_prefix(word.size());
  }
}

// Where parsing fails, `last` stays 0, and the word matches no call.
FailurePlan::Word FailurePlan::ParseWord(std::string_view text) {
  Word word;
  const auto error = CutOff(text, '=');
  auto range = CutOff(text, ':');
  word.detail = CutOff(text, '/').value_or("");
  word.name = text;
  if (error) {
    const auto code = ParseNumber(*error);
    if (!code) return word;
    word.error = *code;
  }
  if (!range) {
    word.last = kNoEnd;
    return word;
  }
  const auto last = CutOff(*range, '-');
  const auto first = ParseNumber(*range);
  if (!first) return word;
  word.first = *first;
  if (!last) {
    word.last = *first;
  } else if (last->empty()) {
    word.last = kNoEnd;
  } else {
    word.last = ParseNumber(*last).value_or(0);
  }
  return word;
}

bool FailurePlan::Matches(const Word& word, std::string_view name, std::string_view detail) {
  if (word.name != name) return false;
  return word.detail.empty() || detail == word.detail || detail.ends_with("\\" + word.detail);
}

FailurePlan::Verdict FailurePlan::Judge(std::string_view name, std::string_view detail) {
  Verdict verdict;
  for (Word& word : words_) {
    if (!Matches(word, name, detail)) continue;
    const unsigned long call = ++word.matchingCalls;
    if (call >= word.first && call <= word.last) verdict = {true, word.error};
  }
  return verdict;
}

}  // namespace wendra
