#include "config/config_file_win.h"

#include "config/saved_server.h"
#include "win/environment.h"
#include "win/file.h"
#include "win/unique.h"
#include "win/wide.h"

#include <knownfolders.h>
#include <shlobj.h>

namespace wendra {
namespace {

constexpr std::uint64_t kMaxConfigBytes = 1'048'576;  // 1 MiB; a larger file counts as none
constexpr char kDefaultConfig[] = "{\r\n  \"mcpServers\": {}\r\n}\r\n";

std::wstring ProfileFolder() {
  TaskText folder;
  if (SUCCEEDED(SHGetKnownFolderPath(FOLDERID_Profile, 0, nullptr, folder.Receive()))) {
    return folder.Get();
  }
  return EnvironmentText(L"USERPROFILE");
}

}  // namespace

std::wstring ConfigFilePath() { return ProfileFolder() + L"\\.config\\wendra\\config.json"; }

std::string ReadConfigText(const std::wstring& path) {
  const FileHandle file = OpenForReading(path);
  if (!file) return {};
  const auto bytes = FileSize(file);
  if (!bytes || *bytes > kMaxConfigBytes) return {};
  return ReadBytes(file, static_cast<size_t>(*bytes));
}

std::string ConfigFile::ConfigPathText() { return Narrow(path_); }

std::wstring ConfigFile::ConfigDirectory() const {
  const size_t separator = path_.find_last_of(L"\\/");
  return separator == std::wstring::npos ? std::wstring() : path_.substr(0, separator);
}

void ConfigFile::EnsureDefaultConfig() {
  if (HasContent()) return;
  CreateDirectories();
  if (FileHandle file = CreateForWriting(path_)) {
    (void)WriteBytes(file, kDefaultConfig);  // a failure shows when the file is read
  }
  // Deliberate: said even when the file could not be created.
  log_.Line("[MCP] created default config at " + ConfigPathText());
}

bool ConfigFile::HasContent() const {
  const DWORD attributes = GetFileAttributesW(path_.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
    return false;
  }
  // Shares reading only: a file that somebody writes just now counts as unreadable.
  const FileHandle file(CreateFileW(path_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr));
  return file && FileSize(file).value_or(0) > 0;
}

std::string ConfigFile::ReadConfigText() { return wendra::ReadConfigText(path_); }

bool ConfigFile::WriteConfigAtomically(std::string_view text) {
  CreateDirectories();
  const std::wstring temporary = path_ + L".tmp";
  FileHandle file = CreateForWriting(temporary);
  if (!file) return false;
  // Flushed before the move: after a power cut there is the old text or the new one, whole.
  const bool written = WriteBytes(file, text);
  (void)FlushFileBuffers(file.Get());  // some file systems cannot
  file.Reset();
  if (written) {
    // Not checked: a locked target stays as it is, and the next write tries again.
    (void)MoveFileExW(temporary.c_str(), path_.c_str(),
                      MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
  }
  return true;
}

void ConfigFile::SaveChosenServer(std::string_view url) {
  const bool saved = WriteConfigAtomically(WithSavedServer(ReadConfigText(), url));
  log_.Line(
      (saved ? "[Server] saved \"server\" to " : "[Server] could not save the chosen server to ") +
      ConfigPathText());
}

void ConfigFile::CreateDirectories() const {
  // All missing levels; a failure shows in the file creation that follows.
  (void)SHCreateDirectoryExW(nullptr, ConfigDirectory().c_str(), nullptr);
}

}  // namespace wendra
