#include "mcp/stdio/child_environment.h"

#include <map>

namespace wendra {
namespace {

// In the order of wchar_t, which is a UTF-16 unit on Windows.
using Variables = std::map<std::wstring, std::wstring>;

constexpr wchar_t kPathWithoutHost[] = L"C:\\Windows\\System32";

std::wstring UpperAscii(std::wstring_view text) {
  std::wstring upper(text);
  for (wchar_t& c : upper) {
    if (c >= L'a' && c <= L'z') c = static_cast<wchar_t>(c - L'a' + L'A');
  }
  return upper;
}

std::wstring_view UntilNul(std::wstring_view text) { return text.substr(0, text.find(L'\0')); }

// Windows keeps the current folder of each drive in an entry that begins with "=". Such an entry
// has an empty name here, so only the last one is kept.
Variables ParseBlock(std::wstring_view block) {
  Variables variables;
  while (!block.empty()) {
    const std::wstring_view entry = UntilNul(block);
    block.remove_prefix(entry.size() < block.size() ? entry.size() + 1 : entry.size());
    const size_t equals = entry.find(L'=');
    if (equals == entry.npos) continue;
    variables[UpperAscii(entry.substr(0, equals))] = entry.substr(equals + 1);
  }
  return variables;
}

std::wstring WidenedPath(const std::vector<std::wstring>& searchDirectories,
                         const std::wstring& hostPath) {
  std::wstring path;
  for (const auto& directory : searchDirectories) path += directory + L';';
  return path + (hostPath.empty() ? kPathWithoutHost : hostPath);
}

}  // namespace

std::wstring BuildChildEnvironment(std::wstring_view hostBlock,
                                   const std::vector<std::wstring>& searchDirectories,
                                   const WideNamedValues& env) {
  Variables variables = ParseBlock(hostBlock);
  std::wstring& path = variables[L"PATH"];
  path = WidenedPath(searchDirectories, path);
  for (const auto& [name, value] : env) {
    const std::wstring_view plainName = UntilNul(name);
    if (!plainName.empty()) variables[UpperAscii(plainName)] = UntilNul(value);
  }
  std::wstring block;
  for (const auto& [name, value] : variables) {
    block.append(name).append(1, L'=').append(value).append(1, L'\0');
  }
  return block + L'\0';
}

}  // namespace wendra
