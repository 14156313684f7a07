// The program's callbacks, by name, and calling them as the real library does.
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
  using Run = std::function<Json()>;  // what the callback returns, null for void

  // An empty `run` takes the callback away. Waits while a callback runs, unless called from it.
  void Set(std::string_view name, Run run);

  // Runs the callback on the calling thread, one at a time; nothing when there is none of that
  // name.
  std::optional<Json> Fire(std::string_view name);

  // "can_shutdown", "shutdown_request" and so on: the middle of the functions' names.
  static const std::array<std::string_view, 9>& Names();

 private:
  // Held while a callback runs, as the real library does: a callback that waits for a thread which
  // is setting one would hang there too.
  std::recursive_mutex mutex_;
  std::array<Run, 9> runs_;  // in the order of Names()
};

}  // namespace wendra
