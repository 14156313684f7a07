// Tells when JSON text that arrives in chunks is the whole answer to one request. Pure.
//
// In this folder an answer is the JSON-RPC response to a request of ours: a response can also be
// that of HTTP.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace wendra {

// Looks at each byte once and keeps at most a short key or id. Only the outermost object counts,
// since the result inside an answer may look like an answer itself. The verdict on text that is not
// JSON means nothing.
class AnswerScanner {
 public:
  // `requestId` consists of digits. If it is "", no text is an answer.
  explicit AnswerScanner(std::string requestId) : requestId_(std::move(requestId)) {}

  void Feed(std::string_view bytes);

  // True: the bytes so far are one whole object with only whitespace around it, its first "id" is
  // that of the request, as a string or as a number, and it has no "method".
  bool IsAnswer() const { return state_ == State::kWhole && hasId_ && !hasMethod_; }

 private:
  enum class State : std::uint8_t {
    kBefore,   // the object has not begun
    kKey,      // inside the object, before a colon
    kValue,    // inside the object, after a colon; also inside a deeper value
    kWhole,    // the object has ended
    kInvalid,  // the text is not one object
  };

  size_t SkipString(std::string_view bytes);
  void See(char byte);
  void SeeInObject(char byte);
  void EndKey();
  void EndValue();
  bool KeepsWord() const { return depth_ == 1 && (state_ == State::kKey || isId_); }
  void Keep(std::string_view bytes);

  const std::string requestId_;
  State state_ = State::kBefore;
  size_t depth_ = 0;  // of objects and arrays
  bool isInString_ = false;
  bool isEscaped_ = false;
  std::string word_;   // the first bytes of a key of the object or of the value of its "id"
  bool isId_ = false;  // the present value is that of the first "id"
  bool sawId_ = false;
  bool hasId_ = false;
  bool hasMethod_ = false;
};

}  // namespace wendra
