// Applies the rules for local servers (search path, environment block, cmd.exe) to the running
// system. Any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "config/settings.h"
#include "mcp/stdio/command_line.h"
#include "mcp/stdio/search_path.h"

namespace wendra {

class SystemEnvironment final : public Environment {
 public:
  std::optional<std::wstring> Variable(const std::wstring& name) const override;
  std::wstring Expand(const std::wstring& text) const override;
};

class SystemFiles final : public FileProbe {
 public:
  bool IsFile(const std::wstring& path) const override;
  std::wstring FullPath(const std::wstring& path) const override;
};

// The full path of the file that a configured command names; "" if there is none.
std::string ResolveCommandOnSystem(std::string_view command);

// The full path of cmd.exe in the system folder: no other file of that name runs batch files. "" if
// the system does not name that folder.
std::wstring SystemShell();

// How the registry sets up cmd.exe. The values of the user and those of the machine both count.
ShellSettings SystemShellSettings();

// The environment block for CreateProcessW with CREATE_UNICODE_ENVIRONMENT: this program's
// variables with the search directories in PATH and with `env`; see BuildChildEnvironment.
std::wstring ChildEnvironmentBlock(const NamedValues& env);

}  // namespace wendra
