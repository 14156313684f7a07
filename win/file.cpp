#include "win/file.h"

#include <algorithm>

namespace wendra {

FileHandle OpenForReading(const std::wstring& path) {
  return FileHandle(CreateFileW(path.c_str(), GENERIC_READ,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, 0, nullptr));
}

FileHandle CreateForWriting(const std::wstring& path) {
  return FileHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
}

FileHandle CreateNewForWriting(const std::wstring& path) {
  return FileHandle(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
}

FileHandle OpenForChanging(const std::wstring& path) {
  return FileHandle(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                nullptr, OPEN_EXISTING, 0, nullptr));
}

std::optional<std::uint64_t> FileSize(const FileHandle& file) {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file.Get(), &size)) return std::nullopt;
  return static_cast<std::uint64_t>(size.QuadPart);
}

std::string ReadBytes(const FileHandle& file, size_t bytes) {
  std::string content(bytes, '\0');
  (void)ReadInto(file, content);
  return content;
}

size_t ReadInto(const FileHandle& file, std::span<char> bytes) {
  constexpr size_t kLargestRead = size_t{1} << 30;  // ReadFile takes its size in 32 bits
  size_t done = 0;
  while (done < bytes.size()) {
    const auto wanted = static_cast<DWORD>(std::min(bytes.size() - done, kLargestRead));
    DWORD got = 0;
    if (!ReadFile(file.Get(), bytes.data() + done, wanted, &got, nullptr) || got == 0) break;
    done += got;
  }
  return done;
}

bool WriteBytes(const FileHandle& file, std::string_view text) {
  const auto bytes = static_cast<DWORD>(text.size());
  DWORD written = 0;
  return WriteFile(file.Get(), text.data(), bytes, &written, nullptr) && written == bytes;
}

}  // namespace wendra
