// What is read from an appcast feed. It is searched as text, not parsed as XML: comments, CDATA and
// entities are nothing special, and a feed that is cut short still gives what stands before the
// cut.
#pragma once

#include <string_view>

namespace wendra {

// The text of the first element `name` in `feed`, without blanks around it; "" when the element or
// its end tag is missing. Deliberate: an element that ends in "/>" reaches to the next end tag of
// its name. The view lives as long as `feed`.
std::string_view ElementText(std::string_view feed, std::string_view name);

// The attribute `url` of the first enclosure, as it stands there; "" when it is missing or not in
// double quotes. The view lives as long as `feed`.
std::string_view DownloadAddress(std::string_view feed);

}  // namespace wendra
