// The running system, as the rules for local servers ask for it: its variables, its files, and both
// rules applied to them. Any thread.
#pragma once

#include <string>

#include "mcp/search_path.h"
#include "mcp/server.h"

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

// The block for CreateProcessW, with CREATE_UNICODE_ENVIRONMENT: this program's environment with
// the widened PATH and `env`.
std::wstring ChildEnvironmentBlock(const NamedValues& env);

}  // namespace wendra
