#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "json/json.h"
#include "json/path_stack.h"
#include "json/string_writer.h"

namespace wendra {

namespace {

bool IsLeaf(const Json& value) {
  return !(value.kind == kJsonArray && !value.items.empty()) &&
         !(value.kind == kJsonObject && !value.members.empty());
}

// Writes into a buffer on the stack, and appends the buffer to the output whenever it is full: to
// append single bytes to a string is slow, to append blocks is fast. Each function takes the end of
// the written part of the buffer and returns the new end.
class Writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}

  void Write(const Json& root) { EmptyBuffer(WriteTree(root, buffer_)); }

 private:
  // A container that is being written, and the index of its next child.
  struct Open {
    const Json* container;
    std::size_t next;
  };

  static constexpr std::size_t kBufferBytes = 4096;

  char* WriteTree(const Json& root, char* to);
  char* WriteItems(Open& at, const Json*& inner, char* to);
  char* WriteMembers(Open& at, const Json*& inner, char* to);
  char* WriteLeaf(const Json& value, char* to);
  char* WriteString(std::string_view content, char* to);
  char* WriteRestOfString(std::string_view content, char* to);
  char* WriteVerbatim(std::string_view bytes, char* to);
  char* Put(char c, char* to) {
    to = MakeRoom(1, to);
    *to = c;
    return to + 1;
  }
  char* MakeRoom(std::ptrdiff_t bytes, char* to) {
    return buffer_ + kBufferBytes - to >= bytes ? to : EmptyBuffer(to);
  }
  char* EmptyBuffer(char* to) {
    out_.append(buffer_, to);
    return buffer_;
  }

  std::string& out_;
  PathStack<Open> outer_;  // the containers around the one that is being written
  char buffer_[kBufferBytes];
};

char* Writer::WriteTree(const Json& root, char* to) {
  if (IsLeaf(root)) return WriteLeaf(root, to);
  const auto isArray = [](const Open& at) { return at.container->kind == kJsonArray; };
  Open at{&root, 0};
  for (;;) {
    if (at.next == 0) to = Put(isArray(at) ? '[' : '{', to);
    const Json* inner = nullptr;
    to = isArray(at) ? WriteItems(at, inner, to) : WriteMembers(at, inner, to);
    if (inner) {
      outer_.Push(at);
      at = {inner, 0};
      continue;
    }
    to = Put(isArray(at) ? ']' : '}', to);
    if (outer_.Empty()) return to;
    at = outer_.Top();
    outer_.Pop();
  }
}

// Writes items up to the next one that has children of its own, and stores that one in `inner`.
inline char* Writer::WriteItems(Open& at, const Json*& inner, char* to) {
  const auto& items = at.container->items;
  for (auto item = items.begin() + static_cast<std::ptrdiff_t>(at.next); item != items.end();
       ++item) {
    if (item != items.begin()) to = Put(',', to);
    if (!IsLeaf(*item)) {
      at.next = static_cast<std::size_t>(item - items.begin()) + 1;
      inner = &*item;
      break;
    }
    to = WriteLeaf(*item, to);
  }
  return to;
}

inline char* Writer::WriteMembers(Open& at, const Json*& inner, char* to) {
  const auto& members = at.container->members;
  for (auto member = members.begin() + static_cast<std::ptrdiff_t>(at.next);
       member != members.end(); ++member) {
    if (member != members.begin()) to = Put(',', to);
    to = Put(':', WriteString(member->first, to));
    if (!IsLeaf(member->second)) {
      at.next = static_cast<std::size_t>(member - members.begin()) + 1;
      inner = &member->second;
      break;
    }
    to = WriteLeaf(member->second, to);
  }
  return to;
}

inline char* Writer::WriteLeaf(const Json& value, char* to) {
  switch (value.kind) {
    case kJsonBool:
      return WriteVerbatim(value.boolean ? "true" : "false", to);
    case kJsonNumber:
      return WriteVerbatim(value.text, to);
    case kJsonString:
      return WriteString(value.text, to);
    case kJsonArray:
      return WriteVerbatim("[]", to);
    case kJsonObject:
      return WriteVerbatim("{}", to);
    default:
      return WriteVerbatim("null", to);
  }
}

inline char* Writer::WriteString(std::string_view content, char* to) {
  to = MakeRoom(kBlockBytes + 2, to);
  *to++ = '"';
  const auto size = static_cast<std::ptrdiff_t>(content.size());
  char* const done = size < kBlockBytes ? WriteShortPlain(content.data(), size, to) : nullptr;
  if (!done) return WriteRestOfString(content, to);
  *done = '"';
  return done + 1;
}

// Writes content of any length, escaped if necessary, and the closing quote.
char* Writer::WriteRestOfString(std::string_view content, char* to) {
  if (content.size() > kBufferBytes) {
    // The content is written in several blocks; reserve lets the output grow once for all of them.
    // If escapes make the content longer by more than an eighth, the output grows again.
    out_.reserve(out_.size() + content.size() + content.size() / 8 + kBufferBytes);
  }
  const char* const end = content.data() + content.size();
  StringProgress now{content.data(), to};
  while (end - now.at > kMaxTailBytes) {
    now.to = MakeRoom(kWindowRoomBytes, now.to);
    now = WriteWindows(now, end, buffer_ + kBufferBytes);
  }
  to = WriteTail({now.at, MakeRoom(kTailRoomBytes + 1, now.to)}, end);
  *to = '"';
  return to + 1;
}

char* Writer::WriteVerbatim(std::string_view bytes, char* to) {
  if (bytes.size() > kBufferBytes) {
    to = EmptyBuffer(to);
    out_.append(bytes);
    return to;
  }
  to = MakeRoom(static_cast<std::ptrdiff_t>(bytes.size()), to);
  std::memcpy(to, bytes.data(), bytes.size());
  return to + bytes.size();
}

}  // namespace

void Serialize(const Json& value, std::string& out) { Writer(out).Write(value); }

}  // namespace wendra
