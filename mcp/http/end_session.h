// Tells a remote server that its session is over. Pure.
#pragma once

#include <memory>

#include "mcp/http/link.h"
#include "mcp/session_end.h"

namespace wendra {

// Sends the DELETE on a thread of its own, at once, whatever the link's state; its outcome does not
// matter. Null when there is no session, or no thread.
std::shared_ptr<SessionEnd> EndHttpSession(const HttpLink& link);

}  // namespace wendra
