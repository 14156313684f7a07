// Where every answer to the page goes through. UI thread only; one reply for each request.
#pragma once

#include <string_view>

#include "base/page_scripts.h"
#include "bridge/resolve_script.h"
#include "json/json.h"

namespace wendra {

class Replies {
 public:
  explicit Replies(PageScripts& page) : page_(page) {}  // borrowed

  // `reqId` as the action was given it. Only a document of the origin that asked gets the reply.
  void Succeed(std::string_view reqId, const Json& value);
  // `error` is what the page shows: a short English text.
  void Fail(std::string_view reqId, std::string_view error);

 private:
  void Send(std::string_view reqId, ReplyStatus status, const Json& value);

  PageScripts& page_;
};

}  // namespace wendra
