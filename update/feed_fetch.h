// Fetches the update feed over the network.
#pragma once

#include <string>

#include "base/outcome.h"
#include "base/http_exchange.h"

namespace wendra {

// The feed's text, at most 1 MiB: a longer feed is cut before the chunk that exceeds the limit. If
// the connection fails in the middle of the body, the bytes before that count as the whole text.
// A failure holds an error text of HttpExchange::Send, or "HTTP " and the status if that is not
// 200. `exchange` must be new. Waits for the network; exchange.Abort() ends the waiting. Any thread
// except the UI thread.
Outcome<std::string> FetchFeed(const std::string& address, HttpExchange& exchange);

}  // namespace wendra
