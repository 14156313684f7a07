// The one JSON value type of the program, its reader and its writer.
//
// A Json is a value: it owns its whole tree, shares nothing, and a copy is the whole tree. Lend it
// by const reference and move it when done; where it must outlive the function that built it, the
// holder keeps it under shared ownership. Different values may be used on different threads at
// once.
//
// Nesting has no limit: reading, writing, copying and destroying keep their way through the tree on
// the heap, never on the machine's stack.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace wendra {

// The values of Json::kind. The numbers are part of the design; checks elsewhere compare them.
inline constexpr std::uint32_t kJsonNull = 0;
inline constexpr std::uint32_t kJsonBool = 1;
inline constexpr std::uint32_t kJsonNumber = 2;
inline constexpr std::uint32_t kJsonString = 3;
inline constexpr std::uint32_t kJsonArray = 4;
inline constexpr std::uint32_t kJsonObject = 5;

struct Json {
  std::uint32_t kind = kJsonNull;
  bool boolean = false;  // of kJsonBool
  double number = 0;     // of kJsonNumber
  // Of kJsonString: the content, UTF-8 as it came, never validated; may hold zero bytes.
  // Of kJsonNumber: the literal exactly as it was read, which is what the writer writes.
  std::string text;
  std::vector<Json> items;  // of kJsonArray
  // Of kJsonObject, in order of arrival. Equal keys are all kept; Find sees only the first.
  std::vector<std::pair<std::string, Json>> members;

  Json() noexcept = default;  // null
  Json(std::nullptr_t) noexcept {}
  Json(const char* content) : kind(kJsonString), text(content) {}
  Json(std::string content) noexcept : kind(kJsonString), text(std::move(content)) {}
  Json(std::string_view content) : kind(kJsonString), text(content) {}
  Json(int value) : Json(static_cast<long long>(value)) {}
  Json(long value) : Json(static_cast<long long>(value)) {}
  Json(long long value);
  Json(char) = delete;  // text or number? say which
  // Exactly bool, so that no pointer becomes a truth value on its way here.
  template <typename Bool, std::enable_if_t<std::is_same_v<Bool, bool>, int> = 0>
  Json(Bool value) noexcept : kind(kJsonBool), boolean(value) {}

  static Json Array() { return OfKind(kJsonArray); }
  static Json Object() { return OfKind(kJsonObject); }

  // Assigning from one's own descendant is safe (`v = std::move(v.items[0])`, `v = v.items[0]`).
  // A value that was moved from is null and empty.
  Json(const Json& other);
  Json(Json&& other) noexcept;
  Json& operator=(const Json& other);
  Json& operator=(Json&& other) noexcept;
  ~Json();

  // The first member with this key, compared byte for byte; null if there is none, or if this is
  // no object. Lives as long as `members` does not change. Takes time linear in the members.
  const Json* Find(std::string_view key) const;
  Json* Find(std::string_view key) { return const_cast<Json*>(std::as_const(*this).Find(key)); }

 private:
  static Json OfKind(std::uint32_t kind) {
    Json value;
    value.kind = kind;
    return value;
  }

  bool HasChildren() const { return !items.empty() || !members.empty(); }
  void CopyChildren(const Json& from);
  void DestroyChildren() noexcept;
};

// Reads one value from the whole of `text`; nothing but whitespace may follow it. Deliberate: a
// text that is only a string which never ends is taken as that string, at the top level alone.
// False on any syntax error; `out` is then in no state to be used. No byte outside `text` is read,
// and `text` may lie inside `out`.
// Throws std::out_of_range("stod argument out of range") for a number too large for a double, or a
// non-zero one too small. Every caller says what becomes of it; no caller lets it pass unnoticed.
// Any thread.
bool Parse(std::string_view text, Json& out);

// Appends the compact text form of `value` to `out`. A value that was read is written back with
// every number as it was spelled. U+2028 and U+2029 are escaped, since replies are embedded in page
// script. `out` must not lie inside `value`. Fails only for want of memory. Any thread.
void Serialize(const Json& value, std::string& out);

inline Json::Json(const Json& other)
    : kind(other.kind), boolean(other.boolean), number(other.number), text(other.text) {
  if (other.HasChildren()) CopyChildren(other);
}

inline Json::Json(Json&& other) noexcept
    : kind(std::exchange(other.kind, kJsonNull)),
      boolean(std::exchange(other.boolean, false)),
      number(std::exchange(other.number, 0.0)),
      text(std::move(other.text)),
      items(std::move(other.items)),
      members(std::move(other.members)) {
  other.text.clear();  // a string that was moved from promises less than a vector does
}

inline Json::~Json() {
  if (HasChildren()) DestroyChildren();
}

}  // namespace wendra
