#include "win/environment.h"

#include <iterator>

#include <windows.h>

namespace wendra {

std::wstring EnvironmentText(const wchar_t* name) {
  wchar_t value[MAX_PATH];
  const DWORD units = GetEnvironmentVariableW(name, value, static_cast<DWORD>(std::size(value)));
  // If the value does not fit, nothing is copied, and `units` is the size that it needs.
  return units < std::size(value) ? std::wstring(value, units) : std::wstring();
}

std::wstring ExpandEnvironment(const wchar_t* text) {
  const DWORD needed = ExpandEnvironmentStringsW(text, nullptr, 0);
  std::wstring expanded(needed, L'\0');
  const DWORD units = ExpandEnvironmentStringsW(text, expanded.data(), needed);
  if (units == 0 || units > needed) return {};
  expanded.resize(units - 1);  // the count includes the NUL
  return expanded;
}

}  // namespace wendra
