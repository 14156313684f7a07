// A text that arrives in pieces and may become long. Pure.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace wendra {

// A text that grows by doubling has touched twice its memory in the end, and fresh memory is what
// a long message costs most. So one that has become long gets all the room that it may need at
// once: what is not used of it is never touched.
class LongText {
 public:
  // The text will be no longer than `maxBytes`.
  explicit LongText(size_t maxBytes) : maxBytes_(maxBytes) {}

  void Append(std::string_view piece) {
    const size_t bytes = text_.size() + piece.size();
    if (bytes > kLongBytes && bytes > text_.capacity()) text_.reserve(std::max(bytes, maxBytes_));
    text_ += piece;
  }

  const std::string& Text() const { return text_; }

  // Leaves it empty. The text keeps at most about as much memory again as it uses: many may wait
  // for the window at once.
  std::string Take() {
    if (text_.capacity() > kLongBytes && text_.capacity() / 2 > text_.size()) text_.shrink_to_fit();
    return std::exchange(text_, {});
  }

  // Forgets the text and gives its memory back.
  void Drop() { text_ = std::string(); }

 private:
  static constexpr size_t kLongBytes = 262'144;

  const size_t maxBytes_;
  std::string text_;
};

}  // namespace wendra
