#include "config/saved_server.h"

#include <utility>

#include "config/json_object.h"

namespace wendra {

std::string WithSavedServer(std::string_view configText, std::string_view url) {
  Json config = ParseJsonObject(configText).value_or(Json::Object());
  std::erase_if(config.members, [](const auto& member) { return member.first == "server"; });
  config.members.emplace_back("server", Json(url));

  std::string text;
  Serialize(config, text);
  return text + "\r\n";
}

}  // namespace wendra
