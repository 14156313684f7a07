// What threads that nobody waits for may reach of the program: its log, and closing its window.
#pragma once

#include <functional>
#include <mutex>
#include <string_view>
#include <utility>

#include "base/log.h"

namespace wendra {

// The update library and the feed check have threads that may still run when the program is on its
// way out. Until Shut() they get through; from then on every call does nothing.
class UpdateOutlet {
 public:
  // Borrows `log` until Shut(). `closeWindow` asks the window to close without waiting for it.
  UpdateOutlet(Log& log, std::function<void()> closeWindow)
      : log_(&log), closeWindow_(std::move(closeWindow)) {}

  // Any thread; these do not block.
  void Line(std::string_view line);
  void CloseWindow();

  // When it returns, no call is under way any more. Any thread.
  void Shut();

 private:
  std::mutex mutex_;
  Log* log_;  // borrowed; null once shut
  const std::function<void()> closeWindow_;
};

}  // namespace wendra
