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

Callbacks::Run* Callbacks::Find(std::string_view name) {
  const auto found = std::ranges::find(Names(), name);
  if (found == Names().end()) return nullptr;
  return &runs_[static_cast<size_t>(found - Names().begin())];
}

void Callbacks::Set(std::string_view name, Run run) {
  const std::lock_guard<std::recursive_mutex> lock(mutex_);
  if (Run* known = Find(name)) *known = std::move(run);
}

std::optional<Json> Callbacks::Fire(std::string_view name) {
  const std::lock_guard<std::recursive_mutex> lock(mutex_);
  const Run* run = Find(name);
  if (!run || !*run) return std::nullopt;
  return (*run)();
}

}  // namespace wendra
