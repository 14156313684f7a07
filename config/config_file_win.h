// config.json as a file: where it is, its default, how it is read and replaced.
// UI thread. Reads the disk every time; nothing is cached.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/log.h"
#include "config/config_store.h"

namespace wendra {

// ".config\wendra\config.json" below the user's profile folder; the folder need not exist.
std::wstring ConfigFilePath();

// The whole file at `path`, at most 1 MiB, no byte-order mark stripped; missing, unreadable or
// larger gives "". Any thread.
std::string ReadConfigText(const std::wstring& path);

class ConfigFile : public ConfigStore {
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
  void EnsureDefaultConfig() override;

  // As the function of that name, for this file.
  std::string ReadConfigText() override;

  ConfigReading Read() const override;

  // Goes through a temporary file beside the real one. False when that cannot be created.
  bool WriteConfigAtomically(std::string_view text) override;

  std::optional<std::uint64_t> LastWriteTime() const override;

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
