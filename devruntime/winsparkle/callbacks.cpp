#include "devruntime/winsparkle/callbacks.h"

#include <algorithm>
#include <utility>

namespace wendra {

const std::array<std::string_view, 9>& Callbacks::Names() {
  static constexpr std::array<std::string_view, 9> kNames = {
      "can_shutdown",     "shutdown_request", "did_find_update",  "did_not_find_update", "error",
      "update_postponed", "update_skipped",   "update_cancelled", "update_dismissed"};
  return kNames;
}

void Callbacks::Set(std::string_view name, Run run) {
  const auto found = std::find(Names().begin(), Names().end(), name);
  if (found == Names().end()) return;
  const std::lock_guard lock(mutex_);
  runs_[static_cast<size_t>(found - Names().begin())] = std::move(run);
}

std::optional<Json> Callbacks::Fire(std::string_view name) {
  const auto found = std::find(Names().begin(), Names().end(), name);
  if (found == Names().end()) return std::nullopt;
  const std::lock_guard lock(mutex_);
  const Run& run = runs_[static_cast<size_t>(found - Names().begin())];
  if (!run) return std::nullopt;
  return run();
}

}  // namespace wendra
