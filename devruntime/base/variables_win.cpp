#include "devruntime/base/variables_win.h"

#include <algorithm>
#include <cwchar>

#include <windows.h>

namespace wendra {

std::wstring DevVariable(const wchar_t* name) {
  const DWORD units = GetEnvironmentVariableW(name, nullptr, 0);  // with the terminator
  if (units == 0) return {};
  std::wstring value(units, L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), units));
  return value;
}

std::wstring DevFile(const wchar_t* name) {
  std::wstring path = DevVariable(name);
  if (!path.starts_with(L'/')) return path;
  std::ranges::replace(path, L'/', L'\\');
  return L"Z:" + path;
}

std::optional<long long> DevNumber(const wchar_t* name) {
  const std::wstring value = DevVariable(name);
  if (value.empty()) return std::nullopt;
  return std::wcstoll(value.c_str(), nullptr, 10);
}

bool DevFlag(const wchar_t* name, bool otherwise) {
  const std::wstring value = DevVariable(name);
  return value.empty() ? otherwise : value != L"0";
}

}  // namespace wendra
