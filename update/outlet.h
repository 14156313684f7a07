// Lets threads that the program does not wait for write to the log and close the window, until it
// is shut.
#pragma once

#include <functional>
#include <mutex>
#include <string_view>
#include <utility>

#include "base/log.h"

namespace wendra {

// Threads of the update library and of the feed check may still run while the program ends. Their
// calls have an effect until Shut(); after it they do nothing.
class UpdateOutlet {
 public:
  // Borrows `log` until Shut(). `closeWindow` asks the window to close; it runs on any thread and
  // must not wait for the window.
  UpdateOutlet(Log& log, std::function<void()> closeWindow)
      : log_(&log), closeWindow_(std::move(closeWindow)) {}

  // Log a line, or ask the window to close. Any thread; neither waits for the UI thread.
  void Line(std::string_view line);
  void CloseWindow();

  // After Shut returns, no call of the other functions is running or has an effect. Any thread.
  void Shut();

 private:
  std::mutex mutex_;
  Log* log_;  // borrowed; null after Shut()
  const std::function<void()> closeWindow_;
};

}  // namespace wendra
