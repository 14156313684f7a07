// Notable events as JSON lines in a file, for tools that wait for the page.
#pragma once

#include <string>

#include "json/json.h"
#include "win/unique.h"

namespace wendra {

class EventFile {
 public:
  // Appends to `path`; with "" every call does nothing.
  explicit EventFile(const std::wstring& path);

  // One line as it is; the line end is added.
  void WriteLine(std::string line) const;

  // One line, there for other processes to read before this returns. Any thread.
  void Write(const Json& event) const;

  bool IsOn() const { return static_cast<bool>(file_); }

 private:
  FileHandle file_;
};

}  // namespace wendra
