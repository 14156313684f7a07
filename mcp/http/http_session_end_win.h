// Tells a remote server that its session is over.
#pragma once

#include "mcp/http/http_link_win.h"
#include "win/unique.h"

namespace wendra {

// Sends the DELETE on a thread of its own, at once, whatever the link's state; what comes of it
// does not matter. The thread, for whoever wants to give it time at the end of the program; none
// when there is no session.
KernelHandle EndHttpSession(const HttpLink& link);

}  // namespace wendra
