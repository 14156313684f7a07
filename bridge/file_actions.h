// The actions on files: readFile, readFileBase64, writeFile. Windows only.
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "base/outcome.h"
#include "bridge/action.h"
#include "bridge/replies.h"

namespace wendra {

// The whole content, at most 16 MiB; fails with what the page is to read: "no such file",
// "is a directory", "could not open file", "file too large". Where reading fails half-way, or the
// file has become shorter meanwhile, the rest of the content is zero bytes.
Outcome<std::string> ReadFileForPage(std::string_view path);

// Makes missing folders, then writes straight into the file. Fails with "could not create file
// (N)", N being the system's error number.
Outcome<std::monostate> WriteFileForPage(std::string_view path, std::string_view content);

// They borrow `replies`, and answer before they return.
Action ReadFileAction(Replies& replies);
Action ReadFileBase64Action(Replies& replies);
Action WriteFileAction(Replies& replies);

}  // namespace wendra
