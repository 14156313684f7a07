// Reads the update feed over the network.
#pragma once

#include <string>

#include "base/outcome.h"
#include "base/http_exchange.h"

namespace wendra {

// The feed's text: at most 1 MiB, a longer one cut before the chunk that would exceed it; what
// arrives before a failure in its middle counts as the whole. Or why there is none: the texts of
// HttpExchange::Send, or "HTTP " and the status when that is not 200. `exchange` must be fresh.
// Waits for the network, so never on the UI thread; exchange.Abort() ends it.
Outcome<std::string> FetchFeed(const std::string& address, HttpExchange& exchange);

}  // namespace wendra
