// Fakes of the system for the command search: environment variables and files in memory.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>

#include "mcp/stdio/search_path.h"

namespace wendra {

class FakeEnvironment final : public Environment {
 public:
  FakeEnvironment() = default;
  explicit FakeEnvironment(std::map<std::wstring, std::wstring> all) : variables(std::move(all)) {}

  std::optional<std::wstring> Variable(const std::wstring& name) const override {
    const auto found = variables.find(name);
    if (found == variables.end()) return std::nullopt;
    return found->second;
  }

  std::wstring Expand(const std::wstring& text) const override {
    std::wstring expanded = text;
    for (const auto& [name, value] : variables) {
      const std::wstring reference = L"%" + name + L"%";
      for (size_t at = 0; (at = expanded.find(reference, at)) != expanded.npos;) {
        expanded.replace(at, reference.size(), value);
        at += value.size();
      }
    }
    return expanded;
  }

  std::map<std::wstring, std::wstring> variables;
};

// The current directory is C:\here.
class FakeFiles final : public FileProbe {
 public:
  FakeFiles() = default;
  explicit FakeFiles(std::set<std::wstring> all) : files(std::move(all)) {}

  bool IsFile(const std::wstring& path) const override { return files.contains(path); }

  std::wstring FullPath(const std::wstring& path) const override {
    const bool isAbsolute = path.size() > 1 && path[1] == L':';
    const std::wstring full = isAbsolute ? path : L"C:\\here\\" + path;
    return full.size() < 260 ? full : std::wstring();
  }

  std::set<std::wstring> files;
};

}  // namespace wendra
