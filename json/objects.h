// Functions for JSON objects: build one from a list of members, read one, find members by key.
//
// The returned references and pointers are valid until the object changes. Threads: as for Json.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "json/json.h"

namespace wendra {

struct JsonMember {
  std::string key;
  Json value;
};

// Builds an object of these members, in this order. The values are moved, for example in
// MakeObject({{"exit", code}, {"stdout", std::move(output)}}).
template <std::size_t N>
Json MakeObject(JsonMember (&&members)[N]) {
  Json object = Json::Object();
  object.members.reserve(N);
  for (JsonMember& member : members) {
    object.members.emplace_back(std::move(member.key), std::move(member.value));
  }
  return object;
}

// Reads the object that `text` holds. Nothing if the text is not JSON, is not an object, or holds a
// number outside the range of a double.
std::optional<Json> ParseJsonObject(std::string_view text);

// The compact text of `value`; see Serialize.
std::string ToText(const Json& value);

// The first member with this key, if it is of the kind that the function names; otherwise null.
const std::string* FindString(const Json& object, std::string_view key);
const Json* FindArray(const Json& object, std::string_view key);
const Json* FindObject(const Json& object, std::string_view key);
std::string* FindString(Json& object, std::string_view key);
Json* FindArray(Json& object, std::string_view key);
Json* FindObject(Json& object, std::string_view key);

// The first member with this key. If it is missing, MemberOf gives a null value. If it is missing
// or of another kind, the others give "", false or 0. Calls can be nested:
// TextOf(MemberOf(params, "frame"), "id").
const Json& MemberOf(const Json& object, std::string_view key);
const std::string& TextOf(const Json& object, std::string_view key);
bool TruthOf(const Json& object, std::string_view key);
std::int64_t IntegerOf(const Json& object, std::string_view key);

}  // namespace wendra
