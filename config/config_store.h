// config.json, as the code that reads and replaces it sees it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "config/server_choice.h"

namespace wendra {

// 1 MiB. A larger file is not read.
inline constexpr std::size_t kMaxConfigBytes = 1'048'576;

// What one reading of the file gave.
struct ConfigReading {
  std::string text;        // the whole file, at most kMaxConfigBytes; "" when there is none
  bool isReadable = true;  // false: there is a file, but not all of it could be read just now
};

// UI thread only.
class ConfigStore : public ServerStore {
 public:
  // Writes the default content when the file is missing or empty.
  virtual void EnsureDefaultConfig() = 0;

  // For callers that must not take a file that another program holds for an empty one.
  virtual ConfigReading Read() const = 0;

  // Replaces the whole content, so that a reader sees the old or the new text and never a part.
  // False: the real file is untouched. A later failure (disk full, target locked) also leaves the
  // real file as it was, but is not reported.
  virtual bool WriteConfigAtomically(std::string_view text) = 0;

  // In 100 ns since 1601 (FILETIME). Nothing if there is no file.
  virtual std::optional<std::uint64_t> LastWriteTime() const = 0;
};

}  // namespace wendra
