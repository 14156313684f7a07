#include "config/config_file_win.h"

#include "config/settings.h"
#include "win/environment.h"
#include "win/file.h"
#include "win/unique.h"
#include "win/wide.h"

#include <knownfolders.h>
#include <shlobj.h>

namespace wendra {
namespace {

constexpr char kDefaultConfig[] = "{\r\n  \"mcpServers\": {}\r\n}\r\n";

std::wstring ProfileFolder() {
  TaskText folder;
  if (SUCCEEDED(SHGetKnownFolderPath(FOLDERID_Profile, 0, nullptr, folder.Receive()))) {
    return folder.Get();
  }
  return EnvironmentText(L"USERPROFILE");
}

bool IsDirectory(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// After a failed opening of `path`: there is no file of that name.
bool IsMissing(const std::wstring& path, DWORD error) {
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || IsDirectory(path);
}

ConfigReading ReadFileAt(const std::wstring& path) {
  const FileHandle file = OpenForReading(path);
  if (!file) return {.text = {}, .isReadable = IsMissing(path, GetLastError())};
  const auto bytes = FileSize(file);
  if (!bytes) return {.text = {}, .isReadable = false};
  if (*bytes > kMaxConfigBytes) return {};
  ConfigReading reading;
  reading.text.resize(static_cast<size_t>(*bytes));  // what cannot be read stays zero bytes
  reading.isReadable = ReadInto(file, reading.text) == reading.text.size();
  return reading;
}

}  // namespace

std::wstring ConfigFilePath() { return ProfileFolder() + L"\\.config\\wendra\\config.json"; }

std::string ReadConfigText(const std::wstring& path) { return ReadFileAt(path).text; }

std::string ConfigFile::ConfigPathText() { return Narrow(path_); }

std::wstring ConfigFile::ConfigDirectory() const {
  const size_t separator = path_.find_last_of(L"\\/");
  return separator == std::wstring::npos ? std::wstring() : path_.substr(0, separator);
}

// Another program may write the file at any time in here. So nothing is ever truncated, and whether
// it is empty is asked of the handle that is written to.
void ConfigFile::EnsureDefaultConfig() {
  const FileHandle file = OpenForReading(path_);
  if (!file) {
    if (IsMissing(path_, GetLastError())) CreateDefault();
  } else if (FileSize(file) == 0u) {
    FillEmptyFile();
  }
}

void ConfigFile::CreateDefault() {
  CreateDirectories();
  if (const FileHandle file = CreateNewForWriting(path_)) {
    (void)WriteBytes(file, kDefaultConfig);  // a failure shows when the file is read
  } else if (GetLastError() == ERROR_FILE_EXISTS && !IsDirectory(path_)) {
    return;  // made by another program meanwhile
  }
  LogDefault();
}

void ConfigFile::FillEmptyFile() {
  if (const FileHandle file = OpenForChanging(path_)) {
    if (FileSize(file) != 0u) return;        // written by another program meanwhile
    (void)WriteBytes(file, kDefaultConfig);  // a failure shows when the file is read
  } else if (GetLastError() == ERROR_SHARING_VIOLATION) {
    return;  // another program is about to fill it
  }
  LogDefault();
}

// Deliberate: said even when the file could not be created.
void ConfigFile::LogDefault() { log_.Line("[MCP] created default config at " + ConfigPathText()); }

std::string ConfigFile::ReadConfigText() { return Read().text; }

ConfigReading ConfigFile::Read() const { return ReadFileAt(path_); }

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

std::optional<std::uint64_t> ConfigFile::LastWriteTime() const {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(path_.c_str(), GetFileExInfoStandard, &data)) return std::nullopt;
  ULARGE_INTEGER time;
  time.LowPart = data.ftLastWriteTime.dwLowDateTime;
  time.HighPart = data.ftLastWriteTime.dwHighDateTime;
  return time.QuadPart;
}

void ConfigFile::SaveChosenServer(std::string_view url) {
  const ConfigReading old = Read();
  const bool isSaved = old.isReadable && WriteConfigAtomically(WithSavedServer(old.text, url));
  log_.Line((isSaved ? "[Server] saved \"server\" to "
                     : "[Server] could not save the chosen server to ") +
            ConfigPathText());
}

void ConfigFile::CreateDirectories() const {
  // All missing levels; a failure shows in the file creation that follows.
  (void)SHCreateDirectoryExW(nullptr, ConfigDirectory().c_str(), nullptr);
}

}  // namespace wendra
