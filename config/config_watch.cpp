#include "config/config_watch.h"

#include <utility>

namespace wendra {

ConfigWatch::ConfigWatch(const ConfigStore& config)
    : config_(config), lastWriteTime_(config.LastWriteTime().value_or(0)) {}

bool ConfigWatch::HasChanged() {
  const auto time = config_.LastWriteTime();
  return time && *time != std::exchange(lastWriteTime_, *time);
}

}  // namespace wendra
