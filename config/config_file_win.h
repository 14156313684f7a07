// The file config.json: its path, its default content, how it is read and replaced.
// UI thread only, except where a comment says otherwise. Every call reads the disk; nothing is
// cached.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "config/config_store.h"

namespace wendra {

// The path ".config\wendra\config.json" below the user's profile folder. The folder may be missing.
std::wstring ConfigFilePath();

// The whole file at `path`, at most 1 MiB; a byte-order mark stays. "" if the file is missing,
// cannot be opened or is larger. If reading fails after the opening, the rest is NUL bytes. Any
// thread.
std::string ReadConfigText(const std::wstring& path);

class ConfigFile : public ConfigStore {
 public:
  // Borrows `log`. `path` is the file's full path: ConfigFilePath(), except in tests.
  ConfigFile(std::wstring path, Log& log) : path_(std::move(path)), log_(log) {}

  const std::wstring& Path() const { return path_; }
  std::string ConfigPathText() override;

  // The folder part of the path; "" if it has none.
  std::wstring ConfigDirectory() const;

  // Writes the default content if the file is missing or empty, and logs that. Deliberate: it logs
  // the same line if the file could not be written; the caller sees the failure at its next
  // reading. Writes and logs nothing if the file has content, if it cannot be opened for reading,
  // or if it is empty and open for writing in another program.
  void EnsureDefaultConfig() override;

  // As the free function ReadConfigText, for this file.
  std::string ReadConfigText() override;

  ConfigReading Read() const override;

  // Writes a temporary file in the same folder, then moves it over the real one. False if the
  // temporary file cannot be created.
  bool WriteConfigAtomically(std::string_view text) override;

  std::optional<std::uint64_t> LastWriteTime() const override;

  // Stores `url` as the member "server", keeps every other member, and logs the outcome. A file
  // that exists but cannot be read completely stays unchanged.
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
