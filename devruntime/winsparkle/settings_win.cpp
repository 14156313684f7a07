#include "devruntime/winsparkle/settings_win.h"

#include <algorithm>
#include <cwchar>

#include <windows.h>

namespace wendra {
namespace {

std::wstring Variable(const wchar_t* name) {
  const DWORD units = GetEnvironmentVariableW(name, nullptr, 0);  // with the terminator
  if (units == 0) return {};
  std::wstring value(units, L'\0');
  value.resize(GetEnvironmentVariableW(name, value.data(), units));
  return value;
}

std::optional<long long> Number(const wchar_t* name) {
  const std::wstring value = Variable(name);
  if (value.empty()) return std::nullopt;
  return std::wcstoll(value.c_str(), nullptr, 10);
}

// Scripts on the development machine name files the Unix way; Wine maps that tree to drive Z.
std::wstring FilePath(const wchar_t* name) {
  std::wstring path = Variable(name);
  if (path.empty() || path[0] != L'/') return path;
  std::replace(path.begin(), path.end(), L'/', L'\\');
  return L"Z:" + path;
}

}  // namespace

SparkleSettings ReadSparkleSettings() {
  SparkleSettings settings;
  settings.callsFile = FilePath(L"WENDRA_DEV_WINSPARKLE_CALLS");
  settings.controlPort =
      static_cast<std::uint16_t>(Number(L"WENDRA_DEV_WINSPARKLE_CONTROL").value_or(0));
  settings.automatic = Number(L"WENDRA_DEV_WINSPARKLE_AUTOMATIC");
  settings.intervalSeconds = Number(L"WENDRA_DEV_WINSPARKLE_INTERVAL");
  settings.lastCheckSeconds = Number(L"WENDRA_DEV_WINSPARKLE_LAST_CHECK");
  settings.callsBackLate = Number(L"WENDRA_DEV_WINSPARKLE_LATE").value_or(0) != 0;
  return settings;
}

}  // namespace wendra
