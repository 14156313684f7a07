// Tells, while JSON text is still arriving, when it has become the answer to one request. Pure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace wendra {

// Looks at each byte once and keeps none but a key. Only the outermost object counts: what an
// answer holds may look like an answer itself. Of text that is not JSON the verdict means nothing.
class AnswerScanner {
 public:
  // `requestId` consists of digits. "" is answered by nothing.
  explicit AnswerScanner(std::string requestId) : requestId_(std::move(requestId)) {}

  void Feed(std::string_view bytes);

  // The bytes so far are one whole object with nothing but blanks around it, its first "id" is that
  // of the request, as a string or as a number, and it has no "method".
  bool IsAnswer() const { return state_ == State::kWhole && hasId_ && !hasMethod_; }

 private:
  enum class State : std::uint8_t {
    kBefore,   // the object has not begun
    kKey,      // in it, before a colon
    kValue,    // in it, after a colon; also within deeper ones
    kWhole,    // it has ended
    kInvalid,  // it is no object, or more than one
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
  std::string word_;   // a key of the object, or the value of its "id", as far as it matters
  bool isId_ = false;  // the value is that of the first "id"
  bool sawId_ = false;
  bool hasId_ = false;
  bool hasMethod_ = false;
};

}  // namespace wendra
