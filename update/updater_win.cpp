#include "update/updater_win.h"

#include <ctime>
#include <utility>

#include "config/config_file_win.h"
#include "config/settings.h"
#include "update/app_version_win.h"
#include "update/outlet.h"
#include "update/winsparkle_win.h"
#include "win/messages.h"

namespace wendra {
namespace {

constexpr int kCheckIntervalSeconds = 3600;

// The library's callbacks have no parameter for our data, so they find the program through this
// pointer. It is set before the callbacks are, and the outlet is never freed, because the library's
// threads may call until the process ends.
UpdateOutlet* outlet = nullptr;

int __cdecl MayShutDown() { return 1; }  // always yes: the program has nothing to save

void __cdecl OnShutdownRequest() { outlet->CloseWindow(); }

void __cdecl OnDidFindUpdate() {
  outlet->Line("[Update] WinSparkle: update available -> prompting");
  outlet->CheckEnded(false);
}

void __cdecl OnDidNotFindUpdate() {
  outlet->Line("[Update] WinSparkle: no newer version -> not prompting");
  outlet->CheckEnded(false);
}

void __cdecl OnError() {
  outlet->Line("[Update] WinSparkle: update check failed (network / feed / signature)");
  outlet->CheckEnded(true);
}

void __cdecl OnUpdatePostponed() { outlet->Line("[Update] WinSparkle: user postponed the update"); }

void __cdecl OnUpdateSkipped() { outlet->Line("[Update] WinSparkle: user skipped this version"); }

void __cdecl OnUpdateCancelled() { outlet->Line("[Update] WinSparkle: update cancelled"); }

void __cdecl OnUpdateDismissed() { outlet->Line("[Update] WinSparkle: update dialog dismissed"); }

void SetCallbacks() {
  win_sparkle_set_can_shutdown_callback(&MayShutDown);
  win_sparkle_set_shutdown_request_callback(&OnShutdownRequest);
  win_sparkle_set_did_find_update_callback(&OnDidFindUpdate);
  win_sparkle_set_did_not_find_update_callback(&OnDidNotFindUpdate);
  win_sparkle_set_error_callback(&OnError);
  win_sparkle_set_update_postponed_callback(&OnUpdatePostponed);
  win_sparkle_set_update_skipped_callback(&OnUpdateSkipped);
  win_sparkle_set_update_cancelled_callback(&OnUpdateCancelled);
  win_sparkle_set_update_dismissed_callback(&OnUpdateDismissed);
}

std::string LocalTimeText(std::time_t time) {
  std::tm local{};
  char text[64];
  if (localtime_s(&local, &time) != 0) return {};  // a time that has no date
  return std::string(text, std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local));
}

}  // namespace

Updater::Updater(Log& log, const std::wstring& configPath, HWND window)
    : log_(log), window_(window) {
  const Settings settings = ReadSettings(ReadConfigText(configPath)).value_or(DefaultSettings());
  if (!settings.updateFeedComplaint.empty()) log_.Line(settings.updateFeedComplaint);
  outlet = new UpdateOutlet(
      log, [window] { (void)PostMessageW(window, WM_CLOSE, 0, 0); },
      [window] { (void)PostMessageW(window, kUpdateFailedMessage, 0, 0); });

  win_sparkle_set_appcast_url(settings.updateFeed.c_str());
  SetCallbacks();
  // Set at every start, so that a choice which the user makes in the library's dialog lasts only
  // until the program ends.
  win_sparkle_set_automatic_check_for_updates(1);
  win_sparkle_set_update_check_interval(kCheckIntervalSeconds);
  win_sparkle_init();
  LogState(settings.updateFeed);
  feedCheck_.emplace(configPath, *outlet);
}

Updater::~Updater() {
  outlet->Shut();
  feedCheck_.reset();
  win_sparkle_cleanup();
}

void Updater::LogState(const std::string& feedAddress) {
  const std::string version = CurrentVersion();
  log_.Line("[Update] current app version: " + (version.empty() ? "(unknown)" : version));
  log_.Line("[Update] feed: " + feedAddress);
  const bool isAutomatic = win_sparkle_get_automatic_check_for_updates() != 0;
  log_.Line(std::string("[Update] automatic checks ") + (isAutomatic ? "enabled" : "disabled") +
            ", interval " + std::to_string(win_sparkle_get_update_check_interval()) +
            "s, WinSparkle " + kWinSparkleVersion);
  const std::time_t last = win_sparkle_get_last_check_time();
  log_.Line("[Update] last successful check: " + (last < 1 ? "never" : LocalTimeText(last)));
  log_.Line("[Update] updater ready");
}

void Updater::CheckNow() {
  log_.Line("[Update] manual update check");
  outlet->PersonAsks();
  win_sparkle_check_update_with_ui();
}

void Updater::RetryLater() {
  isRetryDue_ = SetTimer(window_, kUpdateRetryTimer, kCheckIntervalSeconds * 1000, nullptr) != 0;
}

void Updater::RetryNow() {
  KillTimer(window_, kUpdateRetryTimer);
  if (std::exchange(isRetryDue_, false)) win_sparkle_check_update_without_ui();
}

}  // namespace wendra
