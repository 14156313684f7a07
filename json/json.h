// The JSON value type of the program, its reader and its writer.
//
// A Json owns its whole tree and shares nothing; a copy copies the whole tree. Lend a Json by const
// reference, and move it when it is no longer needed. If several owners need one value, they hold
// it in a shared_ptr. Different values can be used on different threads at the same time.
//
// Nesting has no limit: reading, writing, copying and destroying use no recursion. They keep long
// paths through the tree on the heap or in the values themselves, never on the call stack.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace wendra {

// The values of Json::kind. The numbers are fixed, and a test checks them.
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
  // Of kJsonString: the content. UTF-8 that is never checked; may hold NUL.
  // Of kJsonNumber: the literal exactly as it was read. The writer writes this text.
  std::string text;
  std::vector<Json> items;  // of kJsonArray
  // Of kJsonObject, in the order in which they were read or added. Members with equal keys are all
  // kept; Find sees only the first.
  std::vector<std::pair<std::string, Json>> members;

  Json() noexcept = default;  // null
  Json(std::nullptr_t) noexcept {}
  Json(const char* content) : kind(kJsonString), text(content) {}
  Json(std::string content) noexcept : kind(kJsonString), text(std::move(content)) {}
  Json(std::string_view content) : kind(kJsonString), text(content) {}
  Json(int value) : Json(static_cast<long long>(value)) {}
  Json(long value) : Json(static_cast<long long>(value)) {}
  Json(long long value);
  Json(char) = delete;  // could mean text or a number: the caller has to say which
  // Takes bool only: a pointer must not be converted to bool.
  template <typename Bool, std::enable_if_t<std::is_same_v<Bool, bool>, int> = 0>
  Json(Bool value) noexcept : kind(kJsonBool), boolean(value) {}

  static Json Array() { return OfKind(kJsonArray); }
  static Json Object() { return OfKind(kJsonObject); }

  // A value can be assigned from a part of itself (`v = std::move(v.items[0])`, `v = v.items[0]`).
  // After a move, the source is null and empty.
  Json(const Json& other);
  Json(Json&& other) noexcept;
  Json& operator=(const Json& other);
  Json& operator=(Json&& other) noexcept;
  ~Json();

  // The first member with this key, compared byte for byte. Null if there is none or if this is no
  // object. The pointer is valid until `members` changes. Takes time linear in their number.
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

// Reads one value into `out`. `text` holds that value, whitespace around it, and nothing else.
// Deliberate: a string without its closing quote is accepted if it is the whole text, and only
// then.
//
// False on any syntax error. Throws std::out_of_range("stod argument out of range") if a number is
// too large for a double, or not zero and too small for one; each caller says in a comment what it
// does about that. After both kinds of failure the content of `out` has no meaning, but `out` can
// be read into, copied, assigned and destroyed.
//
// No byte outside `text` is read. `text` may lie inside `out`. Any thread.
bool Parse(std::string_view text, Json& out);

// Appends the compact text of `value` to `out`. Numbers that were read are written as they were
// spelled. U+2028 and U+2029 are escaped, because replies are embedded in page script. `out` must
// not lie inside `value`. Fails only when memory runs out (std::bad_alloc). Any thread.
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
  other.text.clear();  // after a move a vector is empty, but a string need not be
}

inline Json::~Json() {
  if (HasChildren()) DestroyChildren();
}

}  // namespace wendra
