// Hears what a remote server has to say by itself.
#pragma once

#include <memory>

#include "mcp/http/http_link_win.h"

namespace wendra {

// Starts a thread of the server's own that waits until the link is open for listening, and from
// then on until the stop keeps one event stream open, each of its messages delivered. When there is
// no stream, or it ends, it tries again after two seconds; the server learns the last event id of
// the session. The thread is not waited for.
void StartHttpListener(std::shared_ptr<HttpLink> link);

}  // namespace wendra
