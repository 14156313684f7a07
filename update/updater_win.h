// The update library, set up and let go again, and the host's own look at the feed.
#pragma once

#include <optional>
#include <string>

#include "base/log.h"
#include "update/feed_check_win.h"

#include <windows.h>

namespace wendra {

// One in a process: the library has its state for itself. UI thread only.
class Updater {
 public:
  // Sets the library up, which starts checking by itself every hour, and starts the feed check.
  // `window` is the main window, already shown. Borrows `log`; reads the configuration at
  // `configPath` here and once more for the feed check.
  Updater(Log& log, const std::wstring& configPath, HWND window);

  // After the message loop. Waits for no check: what is still under way reaches nothing of the
  // program any more.
  ~Updater();
  Updater(const Updater&) = delete;
  Updater& operator=(const Updater&) = delete;

  // Checks at once, and shows the user the outcome whatever it is. Does not wait for it.
  void CheckNow();

 private:
  void LogState(const std::string& feedAddress);

  Log& log_;
  std::optional<FeedCheck> feedCheck_;  // from the library's set-up to its clean-up
};

}  // namespace wendra
