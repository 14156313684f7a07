#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "json/json.h"
#include "json/number.h"
#include "json/path_stack.h"
#include "json/string_reader.h"
#include "json/text_scan.h"

namespace wendra {

namespace {

// How many children the containers under one key had when last seen, so that the next one under
// that key gets its exact capacity in one allocation. A size is given out only once: what is
// reserved is therefore never more than what has been read, however a text is made.
class SizeHints {
 public:
  using Slot = std::uint8_t;

  static Slot SlotOf(std::string_view key) {
    if (key.empty()) return 0;
    const auto first = static_cast<unsigned char>(key.front());
    const auto last = static_cast<unsigned char>(key.back());
    return static_cast<Slot>((first * 7u + last * 3u + key.size()) % kSlots);
  }
  // Of the containers in an array that has `slot` itself.
  static Slot SlotOfItems(Slot slot) { return static_cast<Slot>((slot + 29u) % kSlots); }

  std::size_t Take(Slot slot) { return std::exchange(sizes_[slot], 0u); }
  void Put(Slot slot, std::size_t size) { sizes_[slot] = static_cast<std::uint32_t>(size); }

 private:
  static constexpr unsigned kSlots = 64;
  std::array<std::uint32_t, kSlots> sizes_{};
};

// Reads one text. The containers that are not closed yet stand in `open_`; the innermost one is the
// only one that grows, so pointers to the outer ones stay good.
class Reader {
 public:
  explicit Reader(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

  bool ReadDocument(Json& root);

 private:
  struct Open {
    Json* container;
    SizeHints::Slot slot;
  };

  bool ReadTopLevelString(Json& root);
  bool ReadTree(Json& root);
  bool ReadValue(Json& value, Json*& firstChild);
  bool ReadWord(std::string_view word);
  bool ReadNumberInto(Json& value);
  bool OpenArray(Json& value, Json*& firstChild);
  bool OpenObject(Json& value, Json*& firstChild);
  bool ReadKey(Json& object, Json*& place);
  bool ReadAfterValue(Json*& place);
  SizeHints::Slot SlotOfNewContainer();
  void Close(std::size_t size);

  bool AtEnd() const { return at_ == end_; }
  void SkipBlanks() { at_ = wendra::SkipBlanks(at_, end_); }
  bool Skip(char c) {
    if (AtEnd() || *at_ != c) return false;
    ++at_;
    return true;
  }

  const char* at_;
  const char* const end_;
  StringReader strings_;
  SizeHints hints_;
  PathStack<Open> open_;
};

bool Reader::ReadDocument(Json& root) {
  SkipBlanks();
  const bool isString = !AtEnd() && *at_ == '"';
  if (!(isString ? ReadTopLevelString(root) : ReadTree(root))) return false;
  SkipBlanks();
  return AtEnd();
}

// Deliberate: a text that is only an unterminated string counts as that string. Inside arrays and
// objects such a string fails.
bool Reader::ReadTopLevelString(Json& root) {
  root.kind = kJsonString;
  return strings_.Read(at_, end_, root.text) != StringEnd::kBadEscape;
}

bool Reader::ReadTree(Json& root) {
  Json* place = &root;  // of the next value
  for (;;) {
    Json* next = nullptr;
    if (!ReadValue(*place, next)) return false;
    while (!next) {
      if (open_.Empty()) return true;
      if (!ReadAfterValue(next)) return false;
    }
    place = next;
  }
}

// Reads a whole value, or the start of a container up to the place of its first child.
inline bool Reader::ReadValue(Json& value, Json*& firstChild) {
  SkipBlanks();
  if (AtEnd()) return false;
  switch (*at_) {
    case '{':
      return OpenObject(value, firstChild);
    case '[':
      return OpenArray(value, firstChild);
    case '"':
      value.kind = kJsonString;
      return strings_.Read(at_, end_, value.text) == StringEnd::kClosed;
    case 't':
      value.kind = kJsonBool;
      value.boolean = true;
      return ReadWord("true");
    case 'f':
      value.kind = kJsonBool;
      return ReadWord("false");
    case 'n':
      return ReadWord("null");
    default:
      return ReadNumberInto(value);
  }
}

inline bool Reader::ReadWord(std::string_view word) {
  if (static_cast<std::size_t>(end_ - at_) < word.size()) return false;
  if (std::memcmp(at_, word.data(), word.size()) != 0) return false;
  at_ += word.size();
  return true;
}

inline bool Reader::ReadNumberInto(Json& value) {
  value.kind = kJsonNumber;
  const char* const numberEnd = ReadNumber(at_, end_, value.number);
  if (!numberEnd) return false;
  value.text.assign(at_, numberEnd);
  at_ = numberEnd;
  return true;
}

bool Reader::OpenArray(Json& value, Json*& firstChild) {
  value.kind = kJsonArray;
  ++at_;
  SkipBlanks();
  if (Skip(']')) return true;
  const SizeHints::Slot slot = SlotOfNewContainer();
  value.items.reserve(hints_.Take(slot));
  open_.Push({&value, slot});
  firstChild = &value.items.emplace_back();
  return true;
}

bool Reader::OpenObject(Json& value, Json*& firstChild) {
  value.kind = kJsonObject;
  ++at_;
  SkipBlanks();
  if (Skip('}')) return true;
  const SizeHints::Slot slot = SlotOfNewContainer();
  value.members.reserve(hints_.Take(slot));
  open_.Push({&value, slot});
  return ReadKey(value, firstChild);
}

inline bool Reader::ReadKey(Json& object, Json*& place) {
  SkipBlanks();
  if (AtEnd() || *at_ != '"') return false;
  auto& [key, value] = object.members.emplace_back();
  if (strings_.Read(at_, end_, key) != StringEnd::kClosed) return false;
  SkipBlanks();
  place = &value;
  return Skip(':');
}

// After a child of the innermost container: either finds the place of the next one, or closes the
// container, which leaves `place` null.
inline bool Reader::ReadAfterValue(Json*& place) {
  SkipBlanks();
  if (AtEnd()) return false;
  const char c = *at_++;
  Json& parent = *open_.Top().container;
  if (parent.kind == kJsonObject) {
    if (c == ',') return ReadKey(parent, place);
    Close(parent.members.size());
    return c == '}';
  }
  if (c == ',') {
    place = &parent.items.emplace_back();
    return true;
  }
  Close(parent.items.size());
  return c == ']';
}

SizeHints::Slot Reader::SlotOfNewContainer() {
  if (open_.Empty()) return 0;
  const Open& parent = open_.Top();
  if (parent.container->kind == kJsonArray) return SizeHints::SlotOfItems(parent.slot);
  return SizeHints::SlotOf(parent.container->members.back().first);
}

void Reader::Close(std::size_t size) {
  hints_.Put(open_.Top().slot, size);
  open_.Pop();
}

}  // namespace

bool Parse(std::string_view text, Json& out) {
  Json value;  // `text` may lie in `out`, which therefore keeps its old value until the end
  const bool read = Reader(text).ReadDocument(value);
  out = std::move(value);
  return read;
}

}  // namespace wendra
