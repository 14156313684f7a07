// Tells whether config.json has been written since somebody last looked.
#pragma once

#include <cstdint>
#include <string>

namespace wendra {

// UI thread. Costs one look at the file's attributes a call.
class ConfigWatch {
 public:
  // Takes the file's present last-write time as the one to compare with.
  explicit ConfigWatch(std::wstring path);

  // True when the last-write time differs from the one kept, earlier or later; the new time is
  // kept. False too while the file is missing.
  bool HasChanged();

  // The file could not be read: the next HasChanged() that finds it says true, whatever its time.
  void LookAgain() { lastWriteTime_ = 0; }

 private:
  const std::wstring path_;
  std::uint64_t lastWriteTime_ = 0;  // in 100 ns since 1601 (FILETIME); 0 when it could not be read
};

}  // namespace wendra
