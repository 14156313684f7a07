#include "json/objects.h"

#include <stdexcept>

namespace wendra {
namespace {

const Json* FindOfKind(const Json& object, std::string_view key, std::uint32_t kind) {
  const Json* member = object.Find(key);
  return member && member->kind == kind ? member : nullptr;
}

// Checked before parsing: to parse a long text of brackets takes a second, and a hundred times the
// memory of the text.
bool MayBeObject(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return first != std::string_view::npos && text[first] == '{';
}

}  // namespace

std::optional<Json> ParseJsonObject(std::string_view text) {
  if (!MayBeObject(text)) return std::nullopt;
  Json value;
  try {
    if (!Parse(text, value)) return std::nullopt;
  } catch (const std::out_of_range&) {  // a number like 1e400
    return std::nullopt;
  }
  return value;
}

std::string ToText(const Json& value) {
  std::string text;
  Serialize(value, text);
  return text;
}

const std::string* FindString(const Json& object, std::string_view key) {
  const Json* member = FindOfKind(object, key, kJsonString);
  return member ? &member->text : nullptr;
}

const Json* FindArray(const Json& object, std::string_view key) {
  return FindOfKind(object, key, kJsonArray);
}

const Json* FindObject(const Json& object, std::string_view key) {
  return FindOfKind(object, key, kJsonObject);
}

std::string* FindString(Json& object, std::string_view key) {
  return const_cast<std::string*>(FindString(std::as_const(object), key));
}

Json* FindArray(Json& object, std::string_view key) {
  return const_cast<Json*>(FindArray(std::as_const(object), key));
}

Json* FindObject(Json& object, std::string_view key) {
  return const_cast<Json*>(FindObject(std::as_const(object), key));
}

const Json& MemberOf(const Json& object, std::string_view key) {
  static const Json kNull;
  const Json* member = object.Find(key);
  return member ? *member : kNull;
}

const std::string& TextOf(const Json& object, std::string_view key) {
  static const std::string kEmpty;
  const std::string* text = FindString(object, key);
  return text ? *text : kEmpty;
}

bool TruthOf(const Json& object, std::string_view key) { return MemberOf(object, key).boolean; }

std::int64_t IntegerOf(const Json& object, std::string_view key) {
  return static_cast<std::int64_t>(MemberOf(object, key).number);
}

}  // namespace wendra
