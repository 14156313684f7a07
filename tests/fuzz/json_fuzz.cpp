// Fuzzes the JSON reader and writer. A value that was read is written; that text must give the same
// value and the same text again. Nothing may crash, read out of bounds or run out of stack.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "json/json.h"

namespace {

using wendra::Json;

void Require(bool holds) {
  if (!holds) std::abort();
}

// True if the text can be read. A number out of range counts as an error.
bool Reads(std::string_view text, Json& value) {
  try {
    return wendra::Parse(text, value);
  } catch (const std::out_of_range& error) {
    Require(error.what() == std::string_view("stod argument out of range"));
    return false;
  }
}

std::string Written(const Json& value) {
  std::string text;
  wendra::Serialize(value, text);
  return text;
}

bool Same(const Json& a, const Json& b) {
  if (a.kind != b.kind || a.boolean != b.boolean || a.text != b.text) return false;
  if (!(a.number == b.number)) return false;
  if (a.items.size() != b.items.size() || a.members.size() != b.members.size()) return false;
  for (std::size_t i = 0; i < a.items.size(); ++i) {
    if (!Same(a.items[i], b.items[i])) return false;
  }
  for (std::size_t i = 0; i < a.members.size(); ++i) {
    if (a.members[i].first != b.members[i].first) return false;
    if (!Same(a.members[i].second, b.members[i].second)) return false;
  }
  return true;
}

// At the top level only, the end of the text ends a string. So a text that can be read inside a
// list must also be read alone, and give the same value.
void RequireSameInsideAList(std::string_view text, const Json& alone) {
  Json list;
  if (!Reads("[" + std::string(text) + "]", list)) return;
  Require(list.items.size() != 1 || Same(list.items[0], alone));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // In a block of its own, so that the sanitizer sees a read of one byte beyond the end.
  const std::unique_ptr<char[]> block(new char[size]);
  for (std::size_t i = 0; i < size; ++i) block[i] = static_cast<char>(data[i]);
  const std::string_view text(block.get(), size);

  Json value;
  if (!Reads(text, value)) {
    (void)Written(value);  // after an error the value means nothing, but can be read safely
    return 0;
  }
  const std::string written = Written(value);
  Json again;
  Require(Reads(written, again));
  Require(Same(value, again));
  Require(Written(again) == written);
  Require(Same(Json(value), again));
  RequireSameInsideAList(text, value);
  return 0;
}
