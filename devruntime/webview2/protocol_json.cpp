#include "devruntime/webview2/protocol_json.h"

namespace wendra {

Json Params(std::initializer_list<std::pair<const char*, Json>> members) {
  Json object = Json::Object();
  object.members.reserve(members.size());
  for (const auto& [key, value] : members) object.members.emplace_back(key, value);
  return object;
}

const Json& MemberOf(const Json& object, std::string_view key) {
  static const Json kNone;
  const Json* member = object.Find(key);
  return member ? *member : kNone;
}

const std::string& TextOf(const Json& object, std::string_view key) {
  static const std::string kNone;
  const Json& member = MemberOf(object, key);
  return member.kind == kJsonString ? member.text : kNone;
}

bool TruthOf(const Json& object, std::string_view key) { return MemberOf(object, key).boolean; }

std::int64_t IntegerOf(const Json& object, std::string_view key) {
  return static_cast<std::int64_t>(MemberOf(object, key).number);
}

}  // namespace wendra
