// config.json as a file: where it is, its default, how it is read and replaced.
// UI thread. Reads the disk every time; nothing is cached.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/log.h"
#include "config/server_choice.h"

namespace wendra {

// 1 MiB. A larger file is not read.
inline constexpr size_t kMaxConfigBytes = 1'048'576;

// ".config\wendra\config.json" below the user's profile folder; the folder need not exist.
std::wstring ConfigFilePath();

// The whole file at `path`, at most 1 MiB, no byte-order mark stripped; missing, unreadable or
// larger gives "". Any thread.
std::string ReadConfigText(const std::wstring& path);

// What one reading of the file gave.
struct ConfigReading {
  std::string text;        // as ReadConfigText gives it
  bool isReadable = true;  // false: there is a file, but not all of it could be read just now
};

class ConfigFile : public ServerStore {
 public:
  // Borrows `log`. `path` is the file's full path, normally ConfigFilePath().
  ConfigFile(std::wstring path, Log& log) : path_(std::move(path)), log_(log) {}

  const std::wstring& Path() const { return path_; }
  std::string ConfigPathText() override;

  // The folder part of the path; "" when it has none.
  std::wstring ConfigDirectory() const;

  // Writes the default content when the file is missing or empty, and logs that, even when it could
  // not be written: the next reading tells. A file that has content, or that another program keeps
  // us from opening, is left as it is, and nothing is logged.
  void EnsureDefaultConfig();

  // As the function of that name, for this file.
  std::string ReadConfigText() override;

  // The same, for those who must not take a file that another program holds for an empty one.
  ConfigReading Read() const;

  // Replaces the whole content through a temporary file beside it, so that a reader sees the old
  // or the new text and never a part. False when the temporary file cannot be created; the real
  // file then is untouched. A later failure (disk full, target locked) also leaves the real file
  // as it was, but is not reported.
  bool WriteConfigAtomically(std::string_view text);

  // Stores `url` as "server" and keeps every other member; logs the outcome. A file that cannot be
  // read is left as it is.
  void SaveChosenServer(std::string_view url) override;

 private:
  void CreateDefault();
  void FillEmptyFile();
  void LogDefault();
  void CreateDirectories() const;

  const std::wstring path_;
  Log& log_;
};

}  // namespace wendra
