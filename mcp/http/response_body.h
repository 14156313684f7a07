// Extracts the messages from the body of an HTTP response while the body arrives. Pure.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/http/answer_scanner.h"
#include "mcp/http/event_stream.h"
#include "mcp/long_text.h"

namespace wendra {

// A body is an event stream if its content type says so or if any of its lines begins with "data:".
// Each message of an event stream is returned as soon as its line is whole. Any other body is one
// message, returned at its end. The same bytes give the same messages, whatever the chunks. Takes
// time linear in the number of bytes.
class ResponseBody {
 public:
  static constexpr size_t kMaxBytes = 8'388'608;

  // `requestId` is the id of the request that was sent; "" if the message was no request.
  ResponseBody(std::string_view contentType, std::string_view requestId);

  // How many more bytes may be read. A longer body is cut off there, and the message that is cut
  // does not parse.
  size_t Room() const { return kMaxBytes - bytes_; }

  // The messages that `bytes` completes, in order. At most Room() bytes.
  std::vector<std::string> Feed(std::string_view bytes);

  // True: the answer to the request is whole. The caller then reads no further, since a server may
  // keep the connection open. Deliberate: a search for the text of the id would not do, since many
  // servers write the id first and the result of a tool may contain the same text.
  bool IsAnswered() const { return isAnswered_; }

  // At the end of the body, or when the caller reads no further: the message that is left, if any.
  // It is the last line of an event stream without its line feed, or the whole of any other body.
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

  // For a body that is no event stream so far:
  LongText text_{kMaxBytes};
  size_t lineStart_ = 0;  // of the last line, which is not whole
  size_t searched_ = 0;   // no line feed stands between lineStart_ and here
  AnswerScanner scanner_;
};

}  // namespace wendra
