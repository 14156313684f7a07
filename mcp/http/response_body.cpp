#include "mcp/http/response_body.h"

#include <algorithm>
#include <utility>

#include "base/ascii.h"

namespace wendra {
namespace {

bool IsEventStream(std::string_view contentType) {
  const std::string_view type = contentType.substr(0, contentType.find(';'));
  return LowerAscii(TrimWhitespace(type)) == "text/event-stream";
}

}  // namespace

ResponseBody::ResponseBody(std::string_view contentType, std::string_view requestId)
    : requestId_(requestId), isEventStream_(IsEventStream(contentType)), scanner_(requestId_) {}

std::vector<std::string> ResponseBody::Feed(std::string_view bytes) {
  bytes_ += bytes.size();
  if (isEventStream_) return FeedEvents(bytes);
  text_.Append(bytes);
  scanner_.Feed(bytes);
  if (FindDataLine()) {
    isEventStream_ = true;
    isAnswered_ = false;  // the text before the first "data:" line is no message
    return FeedEvents(std::string_view(text_.Take()).substr(lineStart_));
  }
  isAnswered_ = scanner_.IsAnswer();
  return {};
}

std::vector<std::string> ResponseBody::Finish() {
  if (isEventStream_) return Messages(events_.Finish());
  std::vector<std::string> messages;
  if (!TrimWhitespace(text_.Text()).empty()) messages.push_back(text_.Take());
  return messages;
}

std::vector<std::string> ResponseBody::FeedEvents(std::string_view bytes) {
  return Messages(events_.Feed(bytes));
}

std::vector<std::string> ResponseBody::Messages(std::vector<EventField> fields) {
  std::vector<std::string> messages;
  for (EventField& field : fields) {
    if (field.kind != EventField::Kind::kMessage) continue;
    AnswerScanner scanner(requestId_);
    if (!isAnswered_) scanner.Feed(field.text);
    isAnswered_ = isAnswered_ || scanner.IsAnswer();
    messages.push_back(std::move(field.text));
  }
  return messages;
}

// Whether a line begins with "data:". Looks at the last line, and at each line before it once.
bool ResponseBody::FindDataLine() {
  const std::string_view text = text_.Text();
  while (!text.substr(lineStart_).starts_with("data:")) {
    const size_t end = text.find('\n', std::max(lineStart_, searched_));
    searched_ = text.size();
    if (end == text.npos) return false;
    lineStart_ = end + 1;
    searched_ = lineStart_;
  }
  return true;
}

}  // namespace wendra
