// The running system, as the rules for local servers ask for it: its variables, its files, and both
// rules applied to them. Any thread.
#pragma once

#include <string>

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

// The full path of the file that a configured command names; "" when there is none.
std::string ResolveCommandOnSystem(std::string_view command);

// The cmd.exe of the system folder: no other file of that name runs batch files. "" if the system
// does not tell its folder.
std::wstring SystemShell();

// How the registry sets up cmd.exe, the user's part or the machine's.
ShellSettings SystemShellSettings();

// The block for CreateProcessW, with CREATE_UNICODE_ENVIRONMENT: this program's environment with
// the widened PATH and `env`.
std::wstring ChildEnvironmentBlock(const NamedValues& env);

}  // namespace wendra
