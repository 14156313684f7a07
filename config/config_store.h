// The interface to config.json for the code that reads and replaces it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "config/server_choice.h"

namespace wendra {

// 1 MiB. A larger file is not read and counts as empty.
inline constexpr std::size_t kMaxConfigBytes = 1'048'576;

// The result of one reading of the file.
struct ConfigReading {
  // The whole file; "" if it is missing or larger than kMaxConfigBytes.
  std::string text;
  // False: the file exists, but not all of it could be read now, so `text` is not complete.
  bool isReadable = true;
};

// UI thread only.
class ConfigStore : public ServerStore {
 public:
  // Writes the default content if the file is missing or empty.
  virtual void EnsureDefaultConfig() = 0;

  // For callers that have to tell an empty file from one that another program holds open.
  virtual ConfigReading Read() const = 0;

  // Replaces the whole content. A reader sees the old or the new text, never a part of it. False:
  // the file is unchanged. Deliberate: true does not mean that the file is written. A later failure
  // (disk full, file locked) leaves the file unchanged too, but is not reported.
  virtual bool WriteConfigAtomically(std::string_view text) = 0;

  // In units of 100 ns since 1601 (FILETIME). Nothing if there is no file.
  virtual std::optional<std::uint64_t> LastWriteTime() const = 0;
};

}  // namespace wendra
