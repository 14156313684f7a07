// The action checkForUpdates: starts a check as if the user had asked for it.
#pragma once

#include <functional>

#include "bridge/action.h"
#include "bridge/replies.h"

namespace wendra {

// Replies as soon as `startCheck` has returned, so `startCheck` must not wait for the outcome. The
// update library shows the outcome to the user; the page does not get it. Borrows `replies`.
Action CheckForUpdatesAction(Replies& replies, std::function<void()> startCheck);

}  // namespace wendra
