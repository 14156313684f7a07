// Finds a version text or a download address in an appcast feed.
// The functions search the feed as text and do not parse XML: comments, CDATA and entities have no
// special meaning, and a feed that is cut off still gives the texts before the cut. Pure.
#pragma once

#include <string_view>

namespace wendra {

// The text of the first element `name` in `feed`, without whitespace around it; "" if the element
// or its end tag is missing. Deliberate: the text of an element that ends in "/>" goes on to the
// next end tag of that name. The view is valid as long as `feed`.
std::string_view ElementText(std::string_view feed, std::string_view name);

// The attribute `url` of the first element "enclosure" in `feed`, unchanged; "" if it is missing or
// not in double quotes. The view is valid as long as `feed`.
std::string_view DownloadAddress(std::string_view feed);

}  // namespace wendra
