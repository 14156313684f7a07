#include "update/feed_address.h"

#include "base/product.h"
#include "json/objects.h"

namespace wendra {
namespace {

constexpr char kIgnoring[] =
    "[Update] ignoring \"updateFeed\" \xE2\x80\x94 expected an http/https URL";  // an em dash

std::string BuiltInAddress() {
  return "https://" + std::string(kReleaseHost) + "/releases/win/appcast.xml";
}

}  // namespace

FeedAddress ReadFeedAddress(std::string_view configText) {
  const auto config = ParseJsonObject(configText);
  const std::string feed = config ? TextOf(*config, "updateFeed") : std::string();
  if (feed.empty()) return {BuiltInAddress(), {}};
  if (feed.starts_with("http://") || feed.starts_with("https://")) return {feed, {}};
  return {BuiltInAddress(), kIgnoring};
}

}  // namespace wendra
