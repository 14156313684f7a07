// Receives the messages that a remote server sends by itself. Pure.
#pragma once

#include <memory>

#include "mcp/http/link.h"

namespace wendra {

// Starts a thread that waits until the link is open for listening, and from then on until the stop
// keeps one event stream open and delivers each of its messages. When there is no stream, or it
// ends, the thread tries again after two seconds; the server learns the last event id of the
// session. Nobody waits for the thread.
void StartHttpListener(std::shared_ptr<HttpLink> link);

}  // namespace wendra
