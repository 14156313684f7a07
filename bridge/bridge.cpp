#include "bridge/bridge.h"

#include <algorithm>
#include <utility>

#include "bridge/reply_address.h"

namespace wendra {
namespace {

// Moves the value of the first member named `key` out of `object`; null if there is no such member.
Json TakeMember(Json& object, std::string_view key) {
  const auto member = std::ranges::find(object.members, key, &std::pair<std::string, Json>::first);
  return member == object.members.end() ? Json() : std::move(member->second);
}

}  // namespace

void Bridge::HandleMessage(std::string_view origin, std::string_view text) {
  Json message;
  if (!Parse(text, message) || message.kind != kJsonObject) {
    log_.Line("[JS->Native] non-object message");
    return;
  }
  Json reqId = TakeMember(message, "__reqId");
  if (reqId.kind != kJsonString) {
    log_.Line("[JS->Native] message without __reqId");
    return;
  }
  Json name = TakeMember(message, "name");
  if (name.kind != kJsonString) name = Json("");
  const Json args = TakeMember(message, "args");
  log_.Line("[JS->Native] action '" + name.text + "' (req " + reqId.text + ")");
  Dispatch(ReplyAddress(origin, reqId.text), name.text, args);
}

void Bridge::Dispatch(std::string reqId, const std::string& name, const Json& args) {
  const auto action = std::ranges::find(actions_, name, &Action::name);
  if (action == actions_.end()) {
    replies_.Fail(reqId, "unknown native action '" + name + "'");
    return;
  }
  action->run(std::move(reqId), args);
}

}  // namespace wendra
