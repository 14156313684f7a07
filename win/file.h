// Whole files, read and written in one go. Errors stay in GetLastError() for the caller.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "win/unique.h"

namespace wendra {

// Opens an existing file for reading. Others may go on reading, writing and deleting it.
FileHandle OpenForReading(const std::wstring& path);

// Creates the file, or truncates it; nobody else may open it meanwhile.
FileHandle CreateForWriting(const std::wstring& path);

// Creates the file; ERROR_FILE_EXISTS when there is anything of that name. Nobody else may open it
// meanwhile.
FileHandle CreateNewForWriting(const std::wstring& path);

// Opens an existing file for reading and writing, content kept. Others may only read it meanwhile;
// ERROR_SHARING_VIOLATION while another program has it open for writing.
FileHandle OpenForChanging(const std::wstring& path);

// Size in bytes; nothing when it cannot be told (a pipe, a device).
std::optional<std::uint64_t> FileSize(const FileHandle& file);

// The first `bytes` bytes from the file's position on. Where reading fails or the file has become
// shorter meanwhile, the rest of the result stays zero bytes.
std::string ReadBytes(const FileHandle& file, size_t bytes);

// Fills `bytes` from the file's position on, as far as that goes; how many bytes that were.
size_t ReadInto(const FileHandle& file, std::span<char> bytes);

// Writes all of `text` with one call; at most 4 GiB - 1. False when it fails or writes less.
bool WriteBytes(const FileHandle& file, std::string_view text);

}  // namespace wendra
