// A file of lines, most of them JSON, that tools read while the program runs.
#pragma once

#include <string>

#include "json/json.h"
#include "win/unique.h"

namespace wendra {

// Any thread. Other processes can read a line before the call returns.
class EventFile {
 public:
  // Appends to `path`; makes the file if it is missing. With "" every call does nothing.
  explicit EventFile(const std::wstring& path);

  // The line end is added.
  void WriteLine(std::string line) const;

  // `event` as one line.
  void Write(const Json& event) const;

 private:
  FileHandle file_;
};

}  // namespace wendra
