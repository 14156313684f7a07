#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "json/json.h"
#include "json/number.h"
#include "json/path_stack.h"
#include "json/string_reader.h"
#include "json/text_scan.h"

namespace wendra {

namespace {

// Remembers how many children the last container under a key had. The next container under that key
// then gets its exact capacity in one allocation. It is only a guess: keys with the same slot share
// one size. Take gives each size only once. So the reader never reserves more children by hints
// than it has read, and the memory that a text can make it reserve is limited by the text's length.
class SizeHints {
 public:
  using Slot = std::uint8_t;

  static Slot SlotOf(std::string_view key) {
    if (key.empty()) return 0;
    const auto first = static_cast<unsigned char>(key.front());
    const auto last = static_cast<unsigned char>(key.back());
    const auto size = static_cast<std::uint32_t>(key.size());
    return Spread((size << 16) + (std::uint32_t{first} << 8) + last);
  }
  // The slot of the containers in an array whose own slot is `slot`.
  static Slot SlotOfItems(Slot slot) { return Spread(slot + 1u); }

  std::uint32_t Take(Slot slot) { return std::exchange(sizes_[slot], 0u); }
  // When sizes vary, the guess is too large rather than too small: growing is expensive.
  void Put(Slot slot, std::uint32_t expected, std::size_t size) {
    const auto seen = static_cast<std::uint32_t>(size);
    sizes_[slot] = seen < expected ? expected - (expected - seen + 1) / 2 : seen;
  }

 private:
  static constexpr unsigned kSlotBits = 6;

  // Multiplicative hashing: the highest bits of the product depend on all bits of `value`.
  static Slot Spread(std::uint32_t value) {
    return static_cast<Slot>(value * 2654435769u >> (32 - kSlotBits));
  }

  std::array<std::uint32_t, 1u << kSlotBits> sizes_{};
};

// Reads one text. Each function takes the position where it begins and returns the position where
// it ends; null if the text is not well-formed there.
//
// `open_` holds the containers that are not closed yet. Only the innermost one grows, so the
// pointers to the others stay valid.
//
// `place` points to the value that is read next. It is null when a value is complete.
class Reader {
 public:
  explicit Reader(std::string_view text)
      : begin_(text.data()), end_(text.data() + text.size()), strings_(end_) {}

  bool Read(Json& root);

 private:
  struct Open {
    Json* container;
    std::uint32_t expected;  // the number of children that was reserved
    SizeHints::Slot slot;
  };

  static constexpr std::size_t kOutermostLevels = 3;
  static constexpr std::uint32_t kOutermostCapacity = 4;

  const char* ReadTopLevelString(const char* at, Json& root);
  const char* ReadTree(const char* at, Json& root);
  const char* ReadValue(const char* at, Json*& place);
  const char* ReadWord(const char* at, std::string_view word);
  const char* ReadString(const char* at, std::string& content);
  const char* ReadNumber(const char* at, Json& value);
  const char* OpenArray(const char* at, Json*& place);
  const char* OpenObject(const char* at, Json*& place);
  const char* ReadKey(const char* at, Json& object, Json*& place);
  const char* ReadAfterValue(const char* at, Json*& place);
  SizeHints::Slot SlotOfNewContainer();
  Open Opened(Json& container);
  void Close(std::size_t size);

  const char* const begin_;
  const char* const end_;
  StringReader strings_;
  SizeHints hints_;
  PathStack<Open> open_;
};

bool Reader::Read(Json& root) {
  const char* at = SkipWhitespace(begin_, end_);
  if (at == end_) return false;
  at = *at == '"' ? ReadTopLevelString(at, root) : ReadTree(at, root);
  return at && SkipWhitespace(at, end_) == end_;
}

// Deliberate: a text that consists of one unterminated string is read as that string. Inside arrays
// and objects an unterminated string is an error.
const char* Reader::ReadTopLevelString(const char* at, Json& root) {
  root.kind = kJsonString;
  StringEnd how;
  at = strings_.Read(at, root.text, how);
  return how == StringEnd::kBadEscape ? nullptr : at;
}

const char* Reader::ReadTree(const char* at, Json& root) {
  for (Json* place = &root;;) {
    at = ReadValue(at, place);
    while (at && !place) {
      if (open_.Empty()) return at;
      at = ReadAfterValue(at, place);
    }
    if (!at) return nullptr;
  }
}

// Reads a complete value into `place` and sets `place` to null. For a container with children it
// reads only the start, and sets `place` to the first child.
inline const char* Reader::ReadValue(const char* at, Json*& place) {
  at = SkipWhitespace(at, end_);
  if (at == end_) return nullptr;
  if (*at == '{') return OpenObject(at, place);
  if (*at == '[') return OpenArray(at, place);
  Json& value = *std::exchange(place, nullptr);
  switch (*at) {
    case '"':
      value.kind = kJsonString;
      return ReadString(at, value.text);
    case 't':
      value.kind = kJsonBool;
      value.boolean = true;
      return ReadWord(at, "true");
    case 'f':
      value.kind = kJsonBool;
      return ReadWord(at, "false");
    case 'n':
      return ReadWord(at, "null");
    default:
      return ReadNumber(at, value);
  }
}

inline const char* Reader::ReadWord(const char* at, std::string_view word) {
  if (static_cast<std::size_t>(end_ - at) < word.size()) return nullptr;
  return std::memcmp(at, word.data(), word.size()) == 0 ? at + word.size() : nullptr;
}

inline const char* Reader::ReadString(const char* at, std::string& content) {
  StringEnd how;
  at = strings_.Read(at, content, how);
  return how == StringEnd::kClosed ? at : nullptr;
}

inline const char* Reader::ReadNumber(const char* at, Json& value) {
  value.kind = kJsonNumber;
  const char* const numberEnd = wendra::ReadNumber(at, end_, value.number);
  if (numberEnd) SetContent(value.text, at, numberEnd, end_);
  return numberEnd;
}

inline const char* Reader::OpenArray(const char* at, Json*& place) {
  Json& array = *std::exchange(place, nullptr);
  array.kind = kJsonArray;
  at = SkipWhitespace(at + 1, end_);
  if (at != end_ && *at == ']') return at + 1;
  const Open opened = Opened(array);
  array.items.reserve(opened.expected);
  open_.Push(opened);
  place = &array.items.emplace_back();
  return at;
}

inline const char* Reader::OpenObject(const char* at, Json*& place) {
  Json& object = *std::exchange(place, nullptr);
  object.kind = kJsonObject;
  at = SkipWhitespace(at + 1, end_);
  if (at != end_ && *at == '}') return at + 1;
  const Open opened = Opened(object);
  object.members.reserve(opened.expected);
  open_.Push(opened);
  return ReadKey(at, object, place);
}

inline const char* Reader::ReadKey(const char* at, Json& object, Json*& place) {
  at = SkipWhitespace(at, end_);
  if (at == end_ || *at != '"') return nullptr;
  auto& [key, value] = object.members.emplace_back();
  at = ReadString(at, key);
  if (!at) return nullptr;
  at = SkipWhitespace(at, end_);
  place = &value;
  return at != end_ && *at == ':' ? at + 1 : nullptr;
}

// Called after a child of the innermost container. Either sets `place` to the next child, or closes
// the container and leaves `place` null.
inline const char* Reader::ReadAfterValue(const char* at, Json*& place) {
  at = SkipWhitespace(at, end_);
  if (at == end_) return nullptr;
  const char c = *at++;
  Json& parent = *open_.Top().container;
  if (parent.kind == kJsonObject) {
    if (c == ',') return ReadKey(at, parent, place);
    Close(parent.members.size());
    return c == '}' ? at : nullptr;
  }
  if (c == ',') {
    place = &parent.items.emplace_back();
    return at;
  }
  Close(parent.items.size());
  return c == ']' ? at : nullptr;
}

SizeHints::Slot Reader::SlotOfNewContainer() {
  if (open_.Empty()) return 0;
  const Open& parent = open_.Top();
  if (parent.container->kind == kJsonArray) return SizeHints::SlotOfItems(parent.slot);
  return SizeHints::SlotOf(parent.container->members.back().first);
}

// The outermost containers get a small capacity without a hint: a request is an object with few
// members, which hold such objects again. At deeper levels that would waste memory in large
// documents.
Reader::Open Reader::Opened(Json& container) {
  const SizeHints::Slot slot = SlotOfNewContainer();
  const std::uint32_t known = hints_.Take(slot);
  const bool outermost = known == 0 && open_.Depth() < kOutermostLevels;
  return {&container, outermost ? kOutermostCapacity : known, slot};
}

void Reader::Close(std::size_t size) {
  const Open& closed = open_.Top();
  hints_.Put(closed.slot, closed.expected, size);
  open_.Pop();
}

bool HoldsNothing(const Json& value) {
  return value.kind == kJsonNull && !value.boolean && value.number == 0 && value.text.empty() &&
         value.items.empty() && value.members.empty();
}

}  // namespace

bool Parse(std::string_view text, Json& out) {
  if (HoldsNothing(out)) return Reader(text).Read(out);
  Json value;  // `text` may lie inside `out`, so `out` must not change before the end
  const bool read = Reader(text).Read(value);
  out = std::move(value);
  return read;
}

}  // namespace wendra
