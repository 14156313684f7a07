// The address of a reply: the origin of the page that asked, and the id of its request.
//
// Both are in one text. An action gets this text as its `reqId`, passes it through jobs and
// payloads without reading it, and gives it to Replies. The id alone is not enough: pages choose
// their own ids, so pages of different origins can use the same ids.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

struct ReplyAddressParts {
  std::string_view origin;
  std::string_view reqId;
};

// `origin` is an origin as OriginOf gives it; `reqId` is any text.
std::string ReplyAddress(std::string_view origin, std::string_view reqId);

// The two parts, as views into `address`. A text without a line feed does not come from
// ReplyAddress: it counts as an id of the origin "", and no page gets a reply to it.
ReplyAddressParts SplitReplyAddress(std::string_view address);

}  // namespace wendra
