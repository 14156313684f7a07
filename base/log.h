// The interface of the program's log, for the modules below app/.
#pragma once

#include <string_view>

namespace wendra {

// A line is UTF-8 text without a line end: a tag in square brackets that names the area, a space,
// the message. It has no time and no level. Example:
// "[Server] loading http://localhost (from command line)".
class Log {
 public:
  virtual ~Log() = default;

  // Appends `line` to the log. UI thread only.
  virtual void Line(std::string_view line) = 0;

  // Posts `line` to the UI thread, which appends it later. Lines of one thread keep their order.
  // Any thread; never blocks. While there is no main window, the line goes to the debugger output
  // only. A line is lost when the window's message queue is full.
  virtual void LineFromAnyThread(std::string_view line) = 0;
};

}  // namespace wendra
