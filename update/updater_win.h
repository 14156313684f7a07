// Sets up the update library, starts the feed check, and cleans both up at the end.
#pragma once

#include <optional>
#include <string>

#include "base/log.h"
#include "update/feed_check_win.h"

#include <windows.h>

namespace wendra {

// Only one per process, because the library's state is global. UI thread only.
class Updater {
 public:
  // Sets up the library, which from then on checks for updates every hour, and starts the feed
  // check. `window` is the main window, which must be shown already. Reads the configuration at
  // `configPath`; the feed check reads it again. Borrows `log`.
  Updater(Log& log, const std::wstring& configPath, HWND window);

  // Runs after the message loop. Does not wait for checks that are under way: from here on they can
  // neither log nor close the window.
  ~Updater();
  Updater(const Updater&) = delete;
  Updater& operator=(const Updater&) = delete;

  // Starts a check at once, without waiting for it. The library shows every outcome to the user.
  void CheckNow();

  // The next two keep the hourly checks going after one that failed. Call the first when
  // kUpdateFailedMessage comes, the second when kUpdateRetryTimer fires.
  void RetryLater();
  void RetryNow();

 private:
  void LogState(const std::string& feedAddress);

  Log& log_;
  const HWND window_;
  bool isRetryDue_ = false;             // the timer runs
  std::optional<FeedCheck> feedCheck_;  // exists from the library's set-up to its clean-up
};

}  // namespace wendra
