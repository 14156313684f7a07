// Tells a remote server that its session is over. Pure.
#pragma once

#include <memory>

#include "mcp/http/link.h"
#include "mcp/session_end.h"

namespace wendra {

// Sends the DELETE at once, on a thread of its own. Its outcome does not matter, and a stop of the
// link does not abort it. Null: there is no session, or the system had no thread to give.
std::shared_ptr<SessionEnd> EndHttpSession(const HttpLink& link);

}  // namespace wendra
