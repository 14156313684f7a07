// The action "checkForUpdates": a check as if the user had asked for it.
#pragma once

#include <functional>

#include "bridge/action.h"
#include "bridge/replies.h"

namespace wendra {

// Borrows `replies`. `startCheck` must return at once: the outcome is for the user to see, and the
// page is answered without it.
Action CheckForUpdatesAction(Replies& replies, std::function<void()> startCheck);

}  // namespace wendra
