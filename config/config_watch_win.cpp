#include "config/config_watch_win.h"

#include <optional>
#include <utility>

#include <windows.h>

namespace wendra {
namespace {

std::optional<std::uint64_t> LastWriteTime(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) return std::nullopt;
  ULARGE_INTEGER time;
  time.LowPart = data.ftLastWriteTime.dwLowDateTime;
  time.HighPart = data.ftLastWriteTime.dwHighDateTime;
  return time.QuadPart;
}

}  // namespace

ConfigWatch::ConfigWatch(std::wstring path)
    : path_(std::move(path)), lastWriteTime_(LastWriteTime(path_).value_or(0)) {}

bool ConfigWatch::HasChanged() {
  const auto time = LastWriteTime(path_);
  return time && *time != std::exchange(lastWriteTime_, *time);
}

}  // namespace wendra
