#include "bridge/file_actions.h"

#include <cstdint>
#include <optional>
#include <utility>

#include "base/base64.h"
#include "win/file.h"
#include "win/wide.h"

#include <shlobj.h>

namespace wendra {
namespace {

constexpr std::uint64_t kMaxFileBytes = 16'777'216;  // 16 MiB; the UI thread waits while it reads

// Windows reads a path only up to its first NUL, and so would open another file than the page asked
// for.
bool NamesAFile(std::string_view path) { return path.find('\0') == std::string_view::npos; }

// Makes all missing levels of the file's folder. After a failure here, creating the file fails too.
void CreateParents(const std::wstring& path) {
  const size_t separator = path.find_last_of(L"\\/");
  if (separator == std::wstring::npos || separator == 0) return;
  (void)SHCreateDirectoryExW(nullptr, path.substr(0, separator).c_str(), nullptr);
}

// An action that reads the file at the path args[0] and replies with its content after `encode`.
// `encode` replaces the content in place, so that the file's bytes are freed before the reply is
// written.
template <typename Encode>
Action ReadingAction(const char* name, Replies& replies, Encode encode) {
  const std::string usage = std::string(name) + " expects [path]";
  return {name, [&replies, usage, encode](const std::string& reqId, const Json& args) {
            const std::string_view path = StringArgument(args, 0);
            if (path.empty()) return replies.Fail(reqId, usage);
            Outcome<std::string> content = ReadFileForPage(path);
            if (!content) return replies.Fail(reqId, content.Error());
            encode(content.Value());
            replies.Succeed(reqId, Json(std::move(content.Value())));
          }};
}

}  // namespace

Outcome<std::string> ReadFileForPage(std::string_view path) {
  const std::wstring name = Widen(path);
  const DWORD attributes =
      NamesAFile(path) ? GetFileAttributesW(name.c_str()) : INVALID_FILE_ATTRIBUTES;
  if (attributes == INVALID_FILE_ATTRIBUTES) return Failure{"no such file"};
  if (attributes & FILE_ATTRIBUTE_DIRECTORY) return Failure{"is a directory"};
  const FileHandle file = OpenForReading(name);
  const std::optional<std::uint64_t> bytes = file ? FileSize(file) : std::nullopt;
  // A device can be opened but has no size.
  if (!bytes) return Failure{"could not open file"};
  if (*bytes > kMaxFileBytes) return Failure{"file too large"};
  return ReadBytes(file, static_cast<size_t>(*bytes));
}

Outcome<std::monostate> WriteFileForPage(std::string_view path, std::string_view content) {
  const auto failure = [](DWORD error) {
    return Failure{"could not create file (" + std::to_string(error) + ")"};
  };
  if (!NamesAFile(path)) return failure(ERROR_INVALID_NAME);
  const std::wstring name = Widen(path);
  CreateParents(name);
  const FileHandle file = CreateForWriting(name);
  if (!file) return failure(GetLastError());
  (void)WriteBytes(file, content);  // Deliberate: a failure is not reported, the file exists
  return std::monostate();
}

Action ReadFileAction(Replies& replies) {
  return ReadingAction("readFile", replies, [](std::string&) {});
}

Action ReadFileBase64Action(Replies& replies) {
  return ReadingAction("readFileBase64", replies,
                       [](std::string& bytes) { bytes = EncodeBase64(bytes); });
}

Action WriteFileAction(Replies& replies) {
  return {"writeFile", [&replies](const std::string& reqId, const Json& args) {
            const std::string_view path = StringArgument(args, 0);
            if (path.empty()) return replies.Fail(reqId, "writeFile expects [path, content]");
            const auto written = WriteFileForPage(path, StringArgument(args, 1));
            if (!written) return replies.Fail(reqId, written.Error());
            replies.Succeed(reqId, Json("ok"));
          }};
}

}  // namespace wendra
