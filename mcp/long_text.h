// A text that arrives in chunks and may become long. Pure.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace wendra {

// A string that grows by doubling touches twice the memory that it needs, and touching fresh memory
// is the largest cost of a long message. So a text beyond 256 KiB reserves at once all the memory
// that it may need; the unused part is never touched.
class LongText {
 public:
  // The text will be no longer than `maxBytes`.
  explicit LongText(size_t maxBytes) : maxBytes_(maxBytes) {}

  void Append(std::string_view chunk) {
    const size_t bytes = text_.size() + chunk.size();
    if (bytes > kLongBytes && bytes > text_.capacity()) text_.reserve(std::max(bytes, maxBytes_));
    text_ += chunk;
  }

  const std::string& Text() const { return text_; }

  // Moves the text out. The unused memory of a long text is at most about as much as the used
  // memory, since many texts may wait for the window at once.
  std::string Take() {
    if (text_.capacity() > kLongBytes && text_.capacity() / 2 > text_.size()) text_.shrink_to_fit();
    return std::exchange(text_, {});
  }

  // Drops the text and frees its memory.
  void Drop() { text_ = std::string(); }

 private:
  static constexpr size_t kLongBytes = 262'144;

  const size_t maxBytes_;
  std::string text_;
};

}  // namespace wendra
