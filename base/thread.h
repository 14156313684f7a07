// Starts detached threads: they have no handle, and no other thread waits for their end.
#pragma once

#include <functional>

namespace wendra {

// Runs `body` on a thread of its own and destroys it there. False: the system had no thread to
// give, and `body` has not run. Any thread.
[[nodiscard]] bool StartDetachedThread(std::function<void()> body);

}  // namespace wendra
