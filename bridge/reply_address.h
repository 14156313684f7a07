// Where a reply goes: which request it answers, and the origin of the page that asked.
//
// Both travel as one text, which an action gets as its `reqId`, carries through jobs and payloads
// without looking inside, and gives back to Replies. An id alone would not do: pages number their
// requests themselves, so two of different origins use the same ids.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

struct ReplyAddressParts {
  std::string_view origin;
  std::string_view reqId;
};

// `origin` as OriginOf gives it; `reqId` is any text of the page's.
std::string ReplyAddress(std::string_view origin, std::string_view reqId);

// Views into `address`. A text that ReplyAddress has not made is an id without an origin, which no
// page gets a reply for.
ReplyAddressParts SplitReplyAddress(std::string_view address);

}  // namespace wendra
