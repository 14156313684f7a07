// Takes the page's messages: checks their shape, finds the action, hands the request over.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "bridge/action.h"
#include "bridge/replies.h"
#include "json/json.h"

namespace wendra {

class Bridge {
 public:
  // Borrows `log` and `replies`.
  Bridge(ActionTable actions, Replies& replies, Log& log)
      : actions_(std::move(actions)), replies_(replies), log_(log) {}

  // One web message as JSON text: an object with "__reqId" (a string), "name" and "args". Anything
  // else is logged and never answered; an unknown name is answered with an error. `origin` is that
  // of the page that posted it, which alone gets the reply.
  // A number outside the range of a double leaves this call as std::out_of_range, deliberately
  // uncaught all the way up: the program ends abnormally rather than guess what the page meant.
  void HandleMessage(std::string_view origin, std::string_view text);

 private:
  void Dispatch(std::string reqId, const std::string& name, const Json& args);

  const ActionTable actions_;
  Replies& replies_;
  Log& log_;
};

}  // namespace wendra
