// The program's callbacks by name, and calling them under the lock that the real library holds.
#pragma once

#include <array>
#include <functional>
#include <mutex>
#include <optional>
#include <string_view>

#include "json/json.h"

namespace wendra {

class Callbacks {
 public:
  using Run = std::function<Json()>;  // gives the callback's result, null for void

  // "can_shutdown", "shutdown_request" and so on: win_sparkle_set_NAME_callback.
  static const std::array<std::string_view, 9>& Names();

  // An empty `run` removes the callback. Waits while a callback runs, except on the thread that
  // runs it. Any thread.
  void Set(std::string_view name, Run run);

  // Runs the callback on the calling thread, one callback at a time. Nothing when there is no
  // callback of that name. Any thread.
  std::optional<Json> Fire(std::string_view name);

 private:
  Run* Find(std::string_view name);

  // Held while a callback runs, as in the real library, so a callback that waits for a thread which
  // sets a callback hangs here too. Recursive, because a callback may set one; base/lock.h is not.
  std::recursive_mutex mutex_;
  std::array<Run, 9> runs_;  // in the order of Names()
};

}  // namespace wendra
