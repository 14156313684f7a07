// The program's one log, as the rooms below app/ see it.
#pragma once

#include <string_view>

namespace wendra {

// A line is UTF-8 text without a line end: a tag in square brackets that names its area, a blank,
// the message; no time, no level. Example: "[Server] loading http://localhost (from command line)".
class Log {
 public:
  virtual ~Log() = default;

  // Appends `line` to the log. UI thread only.
  virtual void Line(std::string_view line) = 0;

  // Hands `line` over to the UI thread, which appends it later, in order of the calls of one
  // thread. Any thread; never blocks. Before the main window exists the line reaches the debugger
  // output only.
  virtual void LineFromAnyThread(std::string_view line) = 0;
};

}  // namespace wendra
