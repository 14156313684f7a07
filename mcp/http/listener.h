// Receives the messages that a remote server sends by itself. Pure.
#pragma once

#include <memory>

#include "mcp/http/link.h"

namespace wendra {

// Starts a thread that waits until the link is open for listening. From then on, until the stop,
// the thread keeps one event stream open and delivers each of its messages. If the server offers no
// stream, or the stream ends, the thread tries again after two seconds and sends the last event id
// of the session along. No other thread waits for it.
void StartHttpListener(std::shared_ptr<HttpLink> link);

}  // namespace wendra
