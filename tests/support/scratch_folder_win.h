// A temporary folder for one test. Its destructor deletes the folder.
#pragma once

#include <filesystem>
#include <string>

#include <windows.h>

namespace wendra {

class ScratchFolder {
 public:
  ScratchFolder() {
    wchar_t folder[MAX_PATH];
    wchar_t name[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    GetTempFileNameW(folder, L"wen", 0, name);
    std::filesystem::remove(name);
    path_ = name;
    std::filesystem::create_directories(path_);
  }
  ~ScratchFolder() {
    std::error_code ignored;  // a failed test may still have a file open
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::wstring operator/(const std::wstring& name) const { return (path_ / name).wstring(); }

 private:
  std::filesystem::path path_;
};

}  // namespace wendra
