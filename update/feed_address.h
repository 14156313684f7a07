// Where the update feed lies: the built-in address, or the one that config.json says.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

struct FeedAddress {
  std::string address;    // UTF-8
  std::string complaint;  // the log line that says why "updateFeed" is not used; mostly ""
};

// `configText` is the content of config.json, "" when there is none. What is no JSON object, or has
// no text in "updateFeed", silently gives the built-in address; so does an empty text.
FeedAddress ReadFeedAddress(std::string_view configText);

}  // namespace wendra
