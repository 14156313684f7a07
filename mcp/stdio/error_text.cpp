#include "mcp/stdio/error_text.h"

#include <utility>

namespace wendra {
namespace {

constexpr size_t kTooLongBytes = 65'536;

}  // namespace

void ErrorText::Add(std::string_view bytes) {
  text_ += bytes.substr(0, kTooLongBytes - text_.size());
}

std::string ErrorText::Take() {
  std::string text = std::exchange(text_, {});
  return text.size() < kTooLongBytes ? text : std::string();
}

}  // namespace wendra
