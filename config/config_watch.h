// Tells whether config.json has been written since the last call. Pure.
#pragma once

#include <cstdint>

#include "config/config_store.h"

namespace wendra {

// UI thread only. Each call reads the file's attributes once.
class ConfigWatch {
 public:
  // Keeps the file's current last-write time for the first comparison. Borrows `config`.
  explicit ConfigWatch(const ConfigStore& config);

  // Compares the file's last-write time with the kept one and keeps the new one. True if they
  // differ, in either direction. False while the file is missing.
  bool HasChanged();

  // For a caller that could not read the file: the next HasChanged() that finds the file is true,
  // whatever the file's time.
  void LookAgain() { lastWriteTime_ = 0; }

 private:
  const ConfigStore& config_;
  std::uint64_t lastWriteTime_;  // 0: no file was found yet, or LookAgain() was called
};

}  // namespace wendra
