// Handles the page's messages: checks their shape, finds the action and runs it. UI thread only.
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

  // `text` is one web message as JSON: an object with "__reqId" (a string), "name" and "args". Any
  // other text is logged and gets no reply. An unknown name, or one that is not a string, gets an
  // error as its reply. `origin` is the origin of the page that posted the message, as OriginOf
  // gives it; only a document of this origin gets the reply.
  // Deliberate: for a number outside the range of a double this throws std::out_of_range, and no
  // caller catches it. The program ends abnormally and does not guess what the page meant.
  void HandleMessage(std::string_view origin, std::string_view text);

 private:
  void Dispatch(std::string reqId, const std::string& name, const Json& args);

  const ActionTable actions_;
  Replies& replies_;
  Log& log_;
};

}  // namespace wendra
