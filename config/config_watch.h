// Tells whether config.json has been written since the last look. Pure.
#pragma once

#include <cstdint>

#include "config/config_store.h"

namespace wendra {

// UI thread. Costs one look at the file's attributes a call.
class ConfigWatch {
 public:
  // Takes the file's present last-write time as the one to compare with. Borrows `config`.
  explicit ConfigWatch(const ConfigStore& config);

  // True when the last-write time differs from the one kept, earlier or later; the new time is
  // kept. False while the file is missing.
  bool HasChanged();

  // The file could not be read: the next HasChanged() that finds it is true, whatever its time.
  void LookAgain() { lastWriteTime_ = 0; }

 private:
  const ConfigStore& config_;
  std::uint64_t lastWriteTime_;  // 0 when it could not be read
};

}  // namespace wendra
