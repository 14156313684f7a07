#include "update/feed_check.h"

#include <compare>

#include "update/appcast.h"
#include "update/version.h"

namespace wendra {
namespace {

std::string Advertised(std::string_view feed, std::string_view version) {
  if (version.empty()) return "[Update] feed advertises no <sparkle:version>";
  std::string line = "[Update] feed advertises version " + std::string(version);
  const std::string_view shown = ElementText(feed, "sparkle:shortVersionString");
  if (!shown.empty()) line += " (shortVersionString " + std::string(shown) + ")";
  return line;
}

std::string Decision(std::string_view version, std::string_view current) {
  if (version.empty() || current.empty()) {
    return "[Update] cannot compare versions (current='" + std::string(current) + "')";
  }
  const auto order = CompareVersions(ParseVersion(version), ParseVersion(current));
  const bool isNewer = std::is_gt(order);
  const char* sign = isNewer ? " > " : std::is_eq(order) ? " == " : " < ";
  const char* verdict =
      isNewer ? " -> update expected (prompt / install)" : " -> up to date, no prompt";
  return "[Update] decision: feed " + std::string(version) + sign + "current " +
         std::string(current) + verdict;
}

}  // namespace

std::vector<std::string> ReportFeed(const Outcome<std::string>& feed, std::string_view current) {
  if (!feed) {
    return {"[Update] could not fetch feed (" + feed.Error() + ") - see WinSparkle result below"};
  }
  const std::string_view version = ElementText(feed.Value(), "sparkle:version");
  std::vector<std::string> lines = {Advertised(feed.Value(), version)};
  const std::string_view download = DownloadAddress(feed.Value());
  if (!download.empty()) lines.push_back("[Update]   download: " + std::string(download));
  lines.push_back(Decision(version, current));
  return lines;
}

}  // namespace wendra
