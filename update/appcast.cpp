#include "update/appcast.h"

#include <string>

#include "base/ascii.h"

namespace wendra {
namespace {

constexpr auto kNone = std::string_view::npos;
constexpr std::string_view kWhitespace = " \t\r\n";

bool EndsName(char c) { return c == '>' || c == '/' || kWhitespace.find(c) != kNone; }

// The rest of `feed` after the name in the first start tag of the element; "" if there is no such
// tag.
std::string_view AfterStartOf(std::string_view feed, std::string_view name) {
  const std::string start = "<" + std::string(name);
  for (size_t at = feed.find(start); at != kNone; at = feed.find(start, at + 1)) {
    const std::string_view rest = feed.substr(at + start.size());
    if (!rest.empty() && EndsName(rest.front())) return rest;
  }
  return {};
}

// The value of the attribute `name`, which must be in double quotes. `tag` is the text between the
// element's name and the '>'.
std::string_view AttributeValue(std::string_view tag, std::string_view name) {
  const std::string opening = std::string(name) + "=\"";
  for (size_t at = tag.find(opening); at != kNone; at = tag.find(opening, at + 1)) {
    if (at == 0 || kWhitespace.find(tag[at - 1]) == kNone) continue;  // the end of a longer name
    const std::string_view value = tag.substr(at + opening.size());
    const size_t end = value.find('"');
    return end == kNone ? std::string_view() : value.substr(0, end);
  }
  return {};
}

}  // namespace

std::string_view ElementText(std::string_view feed, std::string_view name) {
  std::string_view rest = AfterStartOf(feed, name);
  const size_t tagEnd = rest.find('>');
  if (tagEnd == kNone) return {};
  rest.remove_prefix(tagEnd + 1);
  const size_t end = rest.find("</" + std::string(name) + ">");
  return end == kNone ? std::string_view() : TrimWhitespace(rest.substr(0, end));
}

std::string_view DownloadAddress(std::string_view feed) {
  const std::string_view rest = AfterStartOf(feed, "enclosure");
  const size_t tagEnd = rest.find('>');
  return tagEnd == kNone ? std::string_view() : AttributeValue(rest.substr(0, tagEnd), "url");
}

}  // namespace wendra
