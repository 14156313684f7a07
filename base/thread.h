// Starts detached threads: they have no handle, and no other thread can wait for their end.
#pragma once

#include <functional>

namespace wendra {

// Runs `body` on a new thread, which also destroys it. False: the system could not start a thread,
// and `body` has not run. Any thread.
[[nodiscard]] bool StartDetachedThread(std::function<void()> body);

}  // namespace wendra
