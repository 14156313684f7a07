// Takes the messages out of the body of an HTTP response while it arrives. Pure.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/http/answer_scanner.h"
#include "mcp/http/event_stream.h"
#include "mcp/long_text.h"

namespace wendra {

// A body is an event stream when its content type says so or any of its lines begins with "data:";
// then each message is there as soon as its line is whole. Any other body is one message, there at
// its end. The same bytes give the same messages, however they are cut. Time linear in the bytes.
class ResponseBody {
 public:
  static constexpr size_t kMaxBytes = 8'388'608;

  // `requestId` is that of the request that the body answers; "" if it is no request.
  ResponseBody(std::string_view contentType, std::string_view requestId);

  // How many more bytes are to be read: the body is cut there, and what is cut does not parse.
  size_t Room() const { return kMaxBytes - bytes_; }

  // The messages that `bytes` completes, in order. At most Room() bytes.
  std::vector<std::string> Feed(std::string_view bytes);

  // The answer to the request is there, whole: what would follow is not waited for, since a server
  // may keep the connection open. Deliberately not found by its text alone: many servers write the
  // id first, and what a tool returns may hold the same text.
  bool IsAnswered() const { return isAnswered_; }

  // At the end of the body, and when it is read no further: what no line end has completed.
  std::vector<std::string> Finish();

 private:
  std::vector<std::string> FeedEvents(std::string_view bytes);
  std::vector<std::string> Messages(std::vector<EventField> fields);
  bool FindDataLine();

  const std::string requestId_;
  size_t bytes_ = 0;
  bool isEventStream_;
  bool isAnswered_ = false;
  EventStream events_{kMaxBytes};

  // Of a body that is no event stream so far:
  LongText text_{kMaxBytes};
  size_t lineStart_ = 0;  // of the last line, which is not whole
  size_t searched_ = 0;   // no line ends between there and here
  AnswerScanner scanner_;
};

}  // namespace wendra
