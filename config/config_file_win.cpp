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

// Whether there is no file at `path`. `error` is the system's error code after a failed opening.
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
  reading.text.resize(static_cast<size_t>(*bytes));  // bytes that cannot be read stay NUL
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

// Another program may write the file at any time during this function. Therefore it never truncates
// the file, and it asks the very handle that it writes to whether the file is empty.
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
    (void)WriteBytes(file, kDefaultConfig);  // the caller sees a failure when it reads the file
  } else if (GetLastError() == ERROR_FILE_EXISTS && !IsDirectory(path_)) {
    return;  // another program has created the file meanwhile
  }
  LogDefault();
}

void ConfigFile::FillEmptyFile() {
  if (const FileHandle file = OpenForChanging(path_)) {
    if (FileSize(file) != 0u) return;        // another program has written the file meanwhile
    (void)WriteBytes(file, kDefaultConfig);  // the caller sees a failure when it reads the file
  } else if (GetLastError() == ERROR_SHARING_VIOLATION) {
    return;  // another program has the file open for writing and may fill it
  }
  LogDefault();
}

// Deliberate: logs the line even if the file could not be created.
void ConfigFile::LogDefault() { log_.Line("[MCP] created default config at " + ConfigPathText()); }

std::string ConfigFile::ReadConfigText() { return Read().text; }

ConfigReading ConfigFile::Read() const { return ReadFileAt(path_); }

bool ConfigFile::WriteConfigAtomically(std::string_view text) {
  CreateDirectories();
  const std::wstring temporary = path_ + L".tmp";
  FileHandle file = CreateForWriting(temporary);
  if (!file) return false;
  // The file is flushed before the move: after a power cut the old or the new text is complete.
  const bool written = WriteBytes(file, text);
  (void)FlushFileBuffers(file.Get());  // not checked: some file systems cannot flush
  file.Reset();
  if (written) {
    // Not checked: a locked target stays unchanged, and the next write tries again.
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
  // Makes all missing levels. After a failure here, creating the file fails too.
  (void)SHCreateDirectoryExW(nullptr, ConfigDirectory().c_str(), nullptr);
}

}  // namespace wendra
