// The actions readFile, readFileBase64 and writeFile. Windows only.
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "base/outcome.h"
#include "bridge/action.h"
#include "bridge/replies.h"

namespace wendra {

// The whole content of the file, at most 16 MiB. Fails with the error text for the page: "no such
// file", "is a directory", "could not open file" or "file too large". If reading fails after the
// file was opened, or if the file becomes shorter meanwhile, the rest of the content is NUL bytes.
Outcome<std::string> ReadFileForPage(std::string_view path);

// Makes missing folders, then creates or truncates the file and writes `content` into it. Fails
// with "could not create file (N)", where N is the system's error code. A failure while writing is
// not reported.
Outcome<std::monostate> WriteFileForPage(std::string_view path, std::string_view content);

// Each action borrows `replies` and replies before it returns.
Action ReadFileAction(Replies& replies);
Action ReadFileBase64Action(Replies& replies);
Action WriteFileAction(Replies& replies);

}  // namespace wendra
