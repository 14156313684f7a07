#include "bridge/platform.h"

namespace wendra {

Json PlatformValue(const PlatformFacts& facts) {
  Json value = Json::Object();
  value.members.emplace_back("name", "Windows");
  value.members.emplace_back("version", facts.version);
  value.members.emplace_back("user", facts.user);
  value.members.emplace_back("home", facts.home);
  return value;
}

}  // namespace wendra
