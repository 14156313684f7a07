#include "bridge/resolve_script.h"

#include <cstddef>
#include <utility>

#include "json/path_stack.h"

namespace wendra {
namespace {

// Containers around each other. A script's parser calls itself for each of them, and its stack has
// an end; that of JSON.parse does not.
constexpr std::size_t kMaxLiteralDepth = 1'000;

// In a literal it is no member but sets the object's prototype, and twice it is a syntax error.
constexpr std::string_view kPrototype = "__proto__";

// A container, and the child that is looked at next.
struct Place {
  const Json* container;
  std::size_t next;
};

bool HoldsValues(const Json& value) {
  return value.kind == kJsonArray || value.kind == kJsonObject;
}

// The next child of `place` that is a container itself; null after the last one. Sets `isPrototype`
// if a member that it passes has that name.
const Json* NextContainer(Place& place, bool& isPrototype) {
  const Json& container = *place.container;
  if (container.kind == kJsonArray) {
    while (place.next < container.items.size()) {
      const Json& item = container.items[place.next++];
      if (HoldsValues(item)) return &item;
    }
    return nullptr;
  }
  while (place.next < container.members.size()) {
    const auto& [key, value] = container.members[place.next++];
    if (key == kPrototype) isPrototype = true;
    if (HoldsValues(value)) return &value;
  }
  return nullptr;
}

// Whether the value's text, as a literal of a script, means that value.
bool IsLiteral(const Json& root) {
  if (!HoldsValues(root)) return true;
  PathStack<Place> outer;
  Place at{&root, 0};
  for (bool isPrototype = false;;) {
    const Json* inner = NextContainer(at, isPrototype);
    if (isPrototype) return false;
    if (inner) {
      outer.Push(at);
      if (outer.Depth() >= kMaxLiteralDepth) return false;
      at = {inner, 0};
    } else if (outer.Empty()) {
      return true;
    } else {
      at = outer.Top();
      outer.Pop();
    }
  }
}

void AppendValue(const Json& value, std::string& script) {
  if (IsLiteral(value)) return Serialize(value, script);
  std::string text;
  Serialize(value, text);
  script += "JSON.parse(";
  Serialize(Json(std::move(text)), script);
  script += ')';
}

}  // namespace

std::string ResolveScript(std::string_view reqId, ReplyStatus status, const Json& value) {
  std::string script = "window.__wendra && window.__wendra.__resolve ? window.__wendra.__resolve('";
  script += reqId;
  script += status == ReplyStatus::kSucceeded ? "', 1, " : "', 0, ";
  AppendValue(value, script);
  script += ") : 0;";
  return script;
}

}  // namespace wendra
