// How the chosen server enters the text of config.json. Pure.
#pragma once

#include <string>
#include <string_view>

namespace wendra {

// The new file text: the object in `configText` with `url` as its member "server", compact, CR LF
// at the end. A text that is no JSON object is given up: the result then holds "server" alone.
// Deliberate: a saved "server" moves to the end; the rest keeps its order.
std::string WithSavedServer(std::string_view configText, std::string_view url);

}  // namespace wendra
