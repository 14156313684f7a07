// The record of the calls between the program and the library, as JSON lines in a file.
#pragma once

#include <string>
#include <string_view>

#include "devruntime/base/event_file_win.h"
#include "json/json.h"

namespace wendra {

// Any thread. The line is in the file before the call returns.
class CallRecord {
 public:
  // Appends to `file`; "" records nothing.
  explicit CallRecord(const std::wstring& file) : file_(file) {}

  // The program calls `function`: {"call":…,"args":[…],"thread":…}.
  void Called(std::string_view function, Json arguments) const;

  // A callback has been called and has returned: {"fired":…,"returned":…,"thread":…}.
  void Fired(std::string_view callback, Json returned) const;

 private:
  const EventFile file_;
};

}  // namespace wendra
