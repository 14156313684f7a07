// Every call across the library's border, as JSON lines in a file.
#pragma once

#include <string_view>

#include "json/json.h"
#include "win/unique.h"

namespace wendra {

class CallRecord {
 public:
  // Appends to the file; with "" nothing is written.
  explicit CallRecord(const std::wstring& path);

  // The program has called `function`: {"call":…,"args":[…],"thread":…}. A callback is the argument
  // true, or null for none. Any thread; the line is there before this returns.
  void Called(std::string_view function, Json arguments) const;

  // A callback has been called and has returned: {"fired":…,"returned":…,"thread":…}. Any thread.
  void Fired(std::string_view callback, const Json& returned) const;

 private:
  void Write(std::string_view kind, std::string_view name, std::string_view detail,
             Json value) const;

  FileHandle file_;
};

}  // namespace wendra
