// Opens, reads and writes files. After a failure, GetLastError() tells the caller why.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "win/unique.h"

namespace wendra {

// Opens an existing file for reading. Other programs may read, write and delete it meanwhile.
FileHandle OpenForReading(const std::wstring& path);

// Opens a file for writing: creates it, or empties an existing one. It cannot be opened a second
// time until the handle is closed.
FileHandle CreateForWriting(const std::wstring& path);

// Creates a file for writing. Fails with ERROR_FILE_EXISTS if the name is taken. The file cannot be
// opened a second time until the handle is closed.
FileHandle CreateNewForWriting(const std::wstring& path);

// Opens an existing file for reading and writing, and keeps its content. Other programs may only
// read it meanwhile. Fails with ERROR_SHARING_VIOLATION while another program has it open for
// writing.
FileHandle OpenForChanging(const std::wstring& path);

// The size in bytes. Nothing if the system cannot tell it (a pipe, a device).
std::optional<std::uint64_t> FileSize(const FileHandle& file);

// Reads `bytes` bytes from the current position of the file. The result always has that size: if
// reading fails or the file is shorter, its rest is filled with NUL.
std::string ReadBytes(const FileHandle& file, size_t bytes);

// Reads from the current position of the file until `bytes` is full, the file ends or reading
// fails. Returns how many bytes were read.
size_t ReadInto(const FileHandle& file, std::span<char> bytes);

// Writes `text`, at most 4 GiB - 1 bytes, with one system call. False if that fails or writes less.
bool WriteBytes(const FileHandle& file, std::string_view text);

}  // namespace wendra
