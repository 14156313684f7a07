#include "mcp/stdio/search_path.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace wendra {
namespace {

constexpr size_t kMaxFolderUnits = 259;  // MAX_PATH without the NUL at the end

constexpr struct {
  const wchar_t* variable;  // null for an absolute directory
  const wchar_t* directory;
} kToolDirectories[] = {
    {L"USERPROFILE", L"\\.bun\\bin"},
    {L"USERPROFILE", L"\\.cargo\\bin"},
    {L"USERPROFILE", L"\\.volta\\bin"},
    {L"USERPROFILE", L"\\.local\\bin"},
    {L"USERPROFILE", L"\\scoop\\shims"},
    {L"APPDATA", L"\\npm"},
    {L"LOCALAPPDATA", L"\\Microsoft\\WinGet\\Links"},
    {L"LOCALAPPDATA", L"\\Programs\\nodejs"},
    {nullptr, L"C:\\Program Files\\nodejs"},
    {nullptr, L"C:\\Program Files\\Git\\cmd"},
    {nullptr, L"C:\\Program Files\\Git\\usr\\bin"},
    {nullptr, L"C:\\ProgramData\\chocolatey\\bin"},
};

std::optional<std::wstring> Folder(const Environment& environment, const wchar_t* variable) {
  auto value = environment.Variable(variable);
  if (!value || value->empty() || value->size() > kMaxFolderUnits) return std::nullopt;
  return value;
}

// The entries of a list variable; nothing if it is unset. A value of one character or less counts
// as unset.
std::optional<std::vector<std::wstring>> Entries(const Environment& environment,
                                                 const wchar_t* variable) {
  const std::wstring value = environment.Variable(variable).value_or(L"");
  if (value.size() <= 1) return std::nullopt;
  std::vector<std::wstring> entries;
  std::wstring_view rest = value;
  for (bool isLast = false; !isLast;) {
    const size_t end = rest.find(L';');
    isLast = end == rest.npos;
    if (const auto entry = rest.substr(0, end); !entry.empty()) entries.emplace_back(entry);
    if (!isLast) rest.remove_prefix(end + 1);
  }
  return entries;
}

void AddOnce(std::vector<std::wstring>& list, std::wstring entry) {
  if (std::ranges::find(list, entry) == list.end()) list.push_back(std::move(entry));
}

bool IsSeparator(wchar_t c) { return c == L'\\' || c == L'/'; }

std::wstring ExpandHome(const std::wstring& command, const Environment& environment) {
  const bool namesHome =
      command.starts_with(L'~') && (command.size() == 1 || IsSeparator(command[1]));
  const auto home = namesHome ? Folder(environment, L"USERPROFILE") : std::nullopt;
  return home ? *home + command.substr(1) : command;
}

bool HasDirectory(const std::wstring& command) {
  return std::ranges::any_of(command, IsSeparator) || (command.size() > 1 && command[1] == L':');
}

}  // namespace

std::vector<std::wstring> SearchDirectories(const Environment& environment) {
  std::vector<std::wstring> directories;
  auto path = Entries(environment, L"PATH").value_or(std::vector<std::wstring>());
  for (auto& directory : path) AddOnce(directories, std::move(directory));
  for (const auto& tool : kToolDirectories) {
    const auto base = tool.variable ? Folder(environment, tool.variable) : std::wstring();
    if (base) AddOnce(directories, *base + tool.directory);
  }
  return directories;
}

std::vector<std::wstring> ExecutableExtensions(const Environment& environment) {
  auto extensions = Entries(environment, L"PATHEXT");
  if (!extensions) return {L".COM", L".EXE", L".BAT", L".CMD"};
  return std::move(*extensions);
}

std::wstring JoinPath(const std::wstring& directory, const std::wstring& name) {
  if (directory.empty() || IsSeparator(directory.back())) return directory + name;
  return directory + L'\\' + name;
}

std::wstring FindWithExtension(const std::wstring& path, const Environment& environment,
                               const FileProbe& files) {
  for (const auto& extension : ExecutableExtensions(environment)) {
    if (files.IsFile(path + extension)) return path + extension;
  }
  return {};
}

std::wstring ResolveCommand(const std::wstring& command, const Environment& environment,
                            const FileProbe& files) {
  if (command.empty()) return {};
  const std::wstring expanded = environment.Expand(ExpandHome(command, environment));
  const auto find = [&](const std::wstring& path) {
    return files.IsFile(path) ? path : FindWithExtension(path, environment, files);
  };
  if (HasDirectory(expanded)) {
    const std::wstring full = files.FullPath(expanded);
    return full.empty() ? full : find(full);
  }
  for (const auto& directory : SearchDirectories(environment)) {
    if (auto found = find(JoinPath(directory, expanded)); !found.empty()) return found;
  }
  return {};
}

}  // namespace wendra
