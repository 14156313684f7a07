// Short ways to build and to read the small objects that the protocol consists of.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "json/json.h"

namespace wendra {

// An object of the given members, in order: the parameters of a call.
Json Params(std::initializer_list<std::pair<const char*, Json>> members);

// The member of that name; what is missing or of another kind is null, "", false, 0. The
// references live as long as `object` is not changed.
const Json& MemberOf(const Json& object, std::string_view key);
const std::string& TextOf(const Json& object, std::string_view key);
bool TruthOf(const Json& object, std::string_view key);
std::int64_t IntegerOf(const Json& object, std::string_view key);

}  // namespace wendra
