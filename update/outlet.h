// Lets threads that the program does not wait for write to the log, close the window and ask for
// another check, until it is shut.
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
  // Borrows `log` until Shut(). `closeWindow` asks the window to close, `askForRetry` asks the UI
  // thread to check again later. Both run on any thread and must not wait for the window.
  UpdateOutlet(Log& log, std::function<void()> closeWindow, std::function<void()> askForRetry)
      : log_(&log), closeWindow_(std::move(closeWindow)), askForRetry_(std::move(askForRetry)) {}

  // Log a line, or ask the window to close. Any thread; neither waits for the UI thread.
  void Line(std::string_view line);
  void CloseWindow();

  // A person has asked for a check: if it fails, the person is told and the host need not retry.
  // Any thread.
  void PersonAsks();

  // The outcome of a check. After a failure that no person has asked for, asks for another check:
  // the library itself makes no further periodic check then. Any thread.
  void CheckEnded(bool hasFailed);

  // After Shut returns, no call of the other functions is running or has an effect. Any thread.
  void Shut();

 private:
  std::mutex mutex_;
  Log* log_;                     // borrowed; null after Shut()
  bool hasPersonAsked_ = false;  // since the last outcome
  const std::function<void()> closeWindow_;
  const std::function<void()> askForRetry_;
};

}  // namespace wendra
