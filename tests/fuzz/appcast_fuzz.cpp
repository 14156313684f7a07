// Fuzzes the reader of the feed: for any bytes, its results agree with those of a second, plainer
// reader, and the report has the right lines.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "update/appcast.h"
#include "update/feed_check.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

bool IsWhitespace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool StartsAt(std::string_view text, size_t at, std::string_view what) {
  return text.substr(std::min(at, text.size())).starts_with(what);
}

// The position behind the element's name in its first start tag, or the end of the text.
size_t BehindName(std::string_view feed, const std::string& name) {
  const std::string start = "<" + name;
  for (size_t at = 0; at < feed.size(); ++at) {
    const size_t behind = at + start.size();
    if (!StartsAt(feed, at, start) || behind >= feed.size()) continue;
    if (IsWhitespace(feed[behind]) || feed[behind] == '>' || feed[behind] == '/') return behind;
  }
  return feed.size();
}

std::string PlainElementText(std::string_view feed, const std::string& name) {
  size_t at = BehindName(feed, name);
  while (at < feed.size() && feed[at] != '>') ++at;
  if (at++ >= feed.size()) return "";
  const std::string endTag = "</" + name + ">";
  size_t end = at;
  while (end < feed.size() && !StartsAt(feed, end, endTag)) ++end;
  if (end >= feed.size()) return "";
  while (at < end && IsWhitespace(feed[at])) ++at;
  while (end > at && IsWhitespace(feed[end - 1])) --end;
  return std::string(feed.substr(at, end - at));
}

std::string PlainDownloadAddress(std::string_view feed) {
  const size_t start = BehindName(feed, "enclosure");
  const size_t end = feed.find('>', start);
  if (end == std::string_view::npos) return "";
  for (size_t at = start; at < end; ++at) {
    if (!IsWhitespace(feed[at]) || !StartsAt(feed, at + 1, "url=\"") || at + 6 > end) continue;
    const size_t value = at + 6;
    const size_t quote = feed.find('"', value);
    return quote < end ? std::string(feed.substr(value, quote - value)) : "";
  }
  return "";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view feed(reinterpret_cast<const char*>(data), size);
  for (const char* name : {"sparkle:version", "sparkle:shortVersionString", "v"}) {
    Require(wendra::ElementText(feed, name) == PlainElementText(feed, name));
  }
  const std::string download(wendra::DownloadAddress(feed));
  Require(download == PlainDownloadAddress(feed));

  const auto lines = wendra::ReportFeed(std::string(feed), "1.4.0.0");
  Require(lines.size() == (download.empty() ? 2u : 3u));
  const bool hasVersion = !wendra::ElementText(feed, "sparkle:version").empty();
  Require(lines.back().starts_with(hasVersion ? "[Update] decision: feed "
                                              : "[Update] cannot compare versions "));
  return 0;
}
