#include "mcp/http/answer_scanner.h"

#include <algorithm>

#include "json/text_scan.h"

namespace wendra {
namespace {

constexpr size_t kMaxWordBytes = 16;  // longer than "method" and than every request id

}  // namespace

void AnswerScanner::Feed(std::string_view bytes) {
  if (state_ == State::kInvalid) return;
  for (size_t at = 0; at < bytes.size();) {
    if (isInString_) {
      at += SkipString(bytes.substr(at));
    } else {
      See(bytes[at++]);
    }
  }
}

// Returns how many of `bytes` belong to the string that has begun, its closing quote included.
size_t AnswerScanner::SkipString(std::string_view bytes) {
  const char* const begin = bytes.data();
  const char* const end = begin + bytes.size();
  const char* at = begin;
  while (at != end && isInString_) {
    if (!isEscaped_) at = FindEndOfPlainText(at, end);
    if (at == end) break;
    isInString_ = isEscaped_ || *at != '"';
    isEscaped_ = !isEscaped_ && *at == '\\';
    ++at;
  }
  const auto size = static_cast<size_t>(at - begin);
  if (KeepsWord()) Keep(bytes.substr(0, isInString_ ? size : size - 1));
  return size;
}

void AnswerScanner::See(char byte) {
  if (state_ == State::kKey || state_ == State::kValue) return SeeInObject(byte);
  if (IsWhitespace(byte)) return;
  if (state_ == State::kBefore && byte == '{') {
    state_ = State::kKey;
    depth_ = 1;
  } else {
    state_ = State::kInvalid;
  }
}

void AnswerScanner::SeeInObject(char byte) {
  switch (byte) {
    case '"':
      isInString_ = true;
      return;
    case '{':
    case '[':
      isId_ = false;
      ++depth_;
      return;
    case '}':
    case ']':
      if (--depth_ == 0) EndValue();
      return;
    case ':':
      if (depth_ == 1) EndKey();
      return;
    case ',':
      if (depth_ == 1) EndValue();
      return;
    default:
      if (isId_ && !IsWhitespace(byte)) Keep({&byte, 1});
  }
}

void AnswerScanner::EndKey() {
  isId_ = word_ == "id" && !sawId_;
  sawId_ = sawId_ || isId_;
  hasMethod_ = hasMethod_ || word_ == "method";
  word_.clear();
  state_ = State::kValue;
}

void AnswerScanner::EndValue() {
  if (isId_) hasId_ = !requestId_.empty() && word_ == requestId_;
  isId_ = false;
  word_.clear();
  state_ = depth_ == 0 ? State::kWhole : State::kKey;
}

void AnswerScanner::Keep(std::string_view bytes) {
  word_ += bytes.substr(0, kMaxWordBytes - std::min(word_.size(), kMaxWordBytes));
}

}  // namespace wendra
