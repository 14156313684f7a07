#include "bridge/resolve_script.h"

#include <cstddef>
#include <utility>

#include "json/path_stack.h"

namespace wendra {
namespace {

// The deepest nesting of arrays and objects that is written as a literal. The parser of scripts
// recurses once for each level, and its stack is limited; JSON.parse has no such limit.
constexpr std::size_t kMaxLiteralDepth = 1'000;

// In an object literal this key sets the object's prototype and makes no member. Twice in the same
// literal it is a syntax error.
constexpr std::string_view kPrototype = "__proto__";

// A container, and the index of the child to look at next.
struct Place {
  const Json* container;
  std::size_t next;
};

bool HoldsValues(const Json& value) {
  return value.kind == kJsonArray || value.kind == kJsonObject;
}

// The next child of `place` that is a container itself; null if there is none. Sets `isPrototype`
// if the search meets a member with the key "__proto__".
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

// Whether a script that contains the value's text as a literal reads the same value.
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
