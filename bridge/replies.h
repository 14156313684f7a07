// Sends the replies to the page's requests, exactly one for each request. UI thread only.
#pragma once

#include <string_view>

#include "base/page_scripts.h"
#include "bridge/resolve_script.h"
#include "json/json.h"

namespace wendra {

class Replies {
 public:
  explicit Replies(PageScripts& page) : page_(page) {}  // borrowed

  // `reqId` is the text that the action got. Only a document of the origin that asked gets the
  // reply.
  void Succeed(std::string_view reqId, const Json& value);
  // `error` is a short English text for the page.
  void Fail(std::string_view reqId, std::string_view error);

 private:
  void Send(std::string_view reqId, ReplyStatus status, const Json& value);

  PageScripts& page_;
};

}  // namespace wendra
