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

  // One line, there for other processes to read before this returns. Any thread.
  void Write(const Json& event) const;

 private:
  FileHandle file_;
};

}  // namespace wendra
