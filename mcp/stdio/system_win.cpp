#include "mcp/stdio/system_win.h"

#include <iterator>

#include "mcp/stdio/child_environment.h"
#include "win/environment.h"
#include "win/registry_key.h"
#include "win/wide.h"

#include <windows.h>

namespace wendra {
namespace {

// The variables of this program, each followed by a NUL.
std::wstring HostBlock() {
  wchar_t* const strings = GetEnvironmentStringsW();
  if (!strings) return {};
  const wchar_t* end = strings;
  while (*end) end += std::wstring_view(end).size() + 1;
  std::wstring block(strings, static_cast<size_t>(end - strings));
  FreeEnvironmentStringsW(strings);
  return block;
}

}  // namespace

std::optional<std::wstring> SystemEnvironment::Variable(const std::wstring& name) const {
  std::wstring value;
  for (;;) {  // first asks for the size, and again if the variable has grown meanwhile
    const DWORD room = static_cast<DWORD>(value.size());
    SetLastError(ERROR_SUCCESS);
    const DWORD units = GetEnvironmentVariableW(name.c_str(), value.data(), room);
    if (units == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
    value.resize(units);
    if (units < room || units == 0) return value;
  }
}

std::wstring SystemEnvironment::Expand(const std::wstring& text) const {
  return ExpandEnvironment(text.c_str());
}

bool SystemFiles::IsFile(const std::wstring& path) const {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

std::wstring SystemFiles::FullPath(const std::wstring& path) const {
  wchar_t full[MAX_PATH];
  const DWORD units =
      GetFullPathNameW(path.c_str(), static_cast<DWORD>(std::size(full)), full, nullptr);
  // A path that does not fit is not copied: the result is then the size that it needs.
  return units < std::size(full) ? std::wstring(full, units) : std::wstring();
}

std::string ResolveCommandOnSystem(std::string_view command) {
  return Narrow(ResolveCommand(Widen(command), SystemEnvironment(), SystemFiles()));
}

std::wstring SystemShell() {
  wchar_t folder[MAX_PATH];
  const UINT units = GetSystemDirectoryW(folder, static_cast<UINT>(std::size(folder)));
  if (units == 0 || units >= std::size(folder)) return {};
  return JoinPath(std::wstring(folder, units), L"cmd.exe");
}

ShellSettings SystemShellSettings() {
  const auto isSwitched = [](HKEY root) {
    const std::wstring key = L"Software\\Microsoft\\Command Processor";
    return NumberValue(root, key, L"DelayedExpansion").value_or(0) != 0 ||
           NumberValue(root, key, L"EnableExtensions").value_or(1) == 0;
  };
  return isSwitched(HKEY_CURRENT_USER) || isSwitched(HKEY_LOCAL_MACHINE) ? ShellSettings::kSwitched
                                                                         : ShellSettings::kUsual;
}

std::wstring ChildEnvironmentBlock(const NamedValues& env) {
  WideNamedValues wide;
  for (const auto& [name, value] : env) wide.emplace_back(Widen(name), Widen(value));
  return BuildChildEnvironment(HostBlock(), SearchDirectories(SystemEnvironment()), wide);
}

}  // namespace wendra
