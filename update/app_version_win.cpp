#include "update/app_version_win.h"

#include <cwchar>
#include <iterator>
#include <string_view>

#include "win/wide.h"

#include <windows.h>

namespace wendra {
namespace {

struct Translation {  // the memory layout in the resource
  WORD language;
  WORD codePage;
};

// One part of a version resource; empty if the resource does not have it. `size` counts UTF-16
// units with the NUL if the part is a text, and bytes otherwise.
template <typename T>
struct Part {
  const T* data = nullptr;
  UINT size = 0;
};

template <typename T>
Part<T> Query(const std::vector<char>& resource, const wchar_t* path) {
  void* data = nullptr;
  UINT size = 0;
  if (!VerQueryValueW(resource.data(), path, &data, &size) || !data) return {};
  return {static_cast<const T*>(data), size};
}

std::string FileVersionText(const std::vector<char>& resource, Translation translation) {
  wchar_t path[64];
  swprintf(path, std::size(path), L"\\StringFileInfo\\%04x%04x\\FileVersion",
           static_cast<unsigned>(translation.language),
           static_cast<unsigned>(translation.codePage));
  const auto text = Query<wchar_t>(resource, path);
  const std::wstring_view units(text.data, text.size);
  return Narrow(units.substr(0, units.find(L'\0')));
}

std::string FixedFileVersion(const std::vector<char>& resource) {
  const auto fixed = Query<VS_FIXEDFILEINFO>(resource, L"\\");
  if (fixed.size < sizeof(VS_FIXEDFILEINFO)) return {};
  const DWORD high = fixed.data->dwFileVersionMS;
  const DWORD low = fixed.data->dwFileVersionLS;
  return std::to_string(HIWORD(high)) + "." + std::to_string(LOWORD(high)) + "." +
         std::to_string(HIWORD(low)) + "." + std::to_string(LOWORD(low));
}

std::vector<char> VersionResourceOf(const wchar_t* path) {
  std::vector<char> resource(GetFileVersionInfoSizeW(path, nullptr));
  if (resource.empty()) return {};
  if (!GetFileVersionInfoW(path, 0, static_cast<DWORD>(resource.size()), resource.data()))
    return {};
  return resource;
}

}  // namespace

std::string FileVersionIn(const std::vector<char>& resource) {
  const auto translations = Query<Translation>(resource, L"\\VarFileInfo\\Translation");
  for (UINT i = 0; i < translations.size / sizeof(Translation); ++i) {
    std::string version = FileVersionText(resource, translations.data[i]);
    if (!version.empty()) return version;
  }
  return FixedFileVersion(resource);
}

std::string CurrentVersion() {
  wchar_t path[MAX_PATH];
  const DWORD units = GetModuleFileNameW(nullptr, path, MAX_PATH);
  // A longer path comes cut off: it would be the path of another file or of none.
  if (units == 0 || units == MAX_PATH) return {};
  const std::vector<char> resource = VersionResourceOf(path);
  return resource.empty() ? std::string() : FileVersionIn(resource);
}

}  // namespace wendra
