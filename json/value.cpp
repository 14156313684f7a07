#include "json/json.h"

#include <charconv>
#include <cstring>
#include <utility>

#include "json/path_stack.h"

namespace wendra {

namespace {

// A container that is being copied, and its unfinished copy. The sizes of the copy say how many
// children have been copied.
struct Copying {
  const Json* from;
  Json* to;
};

// The copy gets its exact capacity at once, so its children do not move while they are copied.
Copying BeginCopy(const Json& from, Json& to) {
  to.kind = from.kind;
  to.boolean = from.boolean;
  to.number = from.number;
  if (!from.text.empty()) to.text = from.text;
  to.items.reserve(from.items.size());
  to.members.reserve(from.members.size());
  return {&from, &to};
}

bool IsLeaf(const Json& value) { return value.items.empty() && value.members.empty(); }

// Copies children up to the next child that has children of its own. For that child it only makes
// the place, and returns the child and its place. {null, null} when all children are copied.
Copying CopyLeaves(const Copying& at) {
  for (std::size_t i = at.to->items.size(); i < at.from->items.size(); ++i) {
    const Json& child = at.from->items[i];
    if (!IsLeaf(child)) return {&child, &at.to->items.emplace_back()};
    at.to->items.push_back(child);
  }
  for (std::size_t i = at.to->members.size(); i < at.from->members.size(); ++i) {
    const auto& [key, child] = at.from->members[i];
    if (!IsLeaf(child)) return {&child, &at.to->members.emplace_back(key, Json()).second};
    at.to->members.emplace_back(key, child);
  }
  return {nullptr, nullptr};
}

// A container that is being destroyed no longer needs its `number`. The pointer to its parent is
// stored there, so destroying needs no memory and cannot fail.
static_assert(sizeof(double) >= sizeof(Json*));

void SetParent(Json& dying, Json* parent) { std::memcpy(&dying.number, &parent, sizeof parent); }

Json* Parent(const Json& dying) {
  Json* parent = nullptr;
  std::memcpy(&parent, &dying.number, sizeof parent);
  return parent;
}

// Destroys children, the last one first, until one has children of its own, and returns that one.
// Null when no children are left.
Json* DestroyLeaves(Json& dying) {
  for (; !dying.members.empty(); dying.members.pop_back()) {
    if (Json& last = dying.members.back().second; !IsLeaf(last)) return &last;
  }
  for (; !dying.items.empty(); dying.items.pop_back()) {
    if (Json& last = dying.items.back(); !IsLeaf(last)) return &last;
  }
  return nullptr;
}

}  // namespace

Json::Json(long long value) : kind(kJsonNumber), number(static_cast<double>(value)) {
  char digits[20];  // the longest number is -9223372036854775808
  text.assign(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

Json& Json::operator=(const Json& other) {
  Json copy(other);  // before anything here is destroyed: `other` may be a part of this value
  return *this = std::move(copy);
}

Json& Json::operator=(Json&& other) noexcept {
  Json taken(std::move(other));  // `other` may be a part of this value, or this value itself
  std::swap(kind, taken.kind);
  std::swap(boolean, taken.boolean);
  std::swap(number, taken.number);
  text.swap(taken.text);
  items.swap(taken.items);
  members.swap(taken.members);
  return *this;
}

const Json* Json::Find(std::string_view key) const {
  for (const auto& [name, value] : members) {
    if (name == key) return &value;
  }
  return nullptr;
}

void Json::CopyChildren(const Json& from) {
  PathStack<Copying> open;
  Copying at = BeginCopy(from, *this);
  for (;;) {
    if (const Copying child = CopyLeaves(at); child.from) {
      open.Push(at);
      at = BeginCopy(*child.from, *child.to);
    } else if (open.Empty()) {
      return;
    } else {
      at = open.Top();
      open.Pop();
    }
  }
}

void Json::DestroyChildren() noexcept {
  SetParent(*this, nullptr);
  for (Json* dying = this; dying;) {
    if (Json* child = DestroyLeaves(*dying)) {
      SetParent(*child, dying);
      dying = child;
    } else {
      dying = Parent(*dying);
    }
  }
}

}  // namespace wendra
