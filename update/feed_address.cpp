#include "update/feed_address.h"

#include "base/product.h"
#include "config/json_object.h"

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
  const Json* feed = config ? config->Find("updateFeed") : nullptr;
  if (!feed || feed->kind != kJsonString || feed->text.empty()) return {BuiltInAddress(), {}};
  if (feed->text.starts_with("http://") || feed->text.starts_with("https://")) {
    return {feed->text, {}};
  }
  return {BuiltInAddress(), kIgnoring};
}

}  // namespace wendra
