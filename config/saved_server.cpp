#include "config/saved_server.h"

#include <utility>

#include "json/objects.h"

namespace wendra {

std::string WithSavedServer(std::string_view configText, std::string_view url) {
  Json config = ParseJsonObject(configText).value_or(Json::Object());
  std::erase_if(config.members, [](const auto& member) { return member.first == "server"; });
  config.members.emplace_back("server", url);
  return ToText(config) + "\r\n";
}

}  // namespace wendra
