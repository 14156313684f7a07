// Declares the functions of WinSparkle.dll that the program calls, and no others.
// The library runs callbacks on its own threads, and some of them while it holds a lock that its
// setters take too. So a callback must not wait for the UI thread and must not call the library.
#pragma once

#include <ctime>

namespace wendra {

inline constexpr char kWinSparkleVersion[] = "0.9.4";  // the version of these declarations

}  // namespace wendra

extern "C" {

using WinSparkleCallback = void(__cdecl*)();
using WinSparkleQuestion = int(__cdecl*)();  // non-zero means yes

// Call before win_sparkle_init. `url` is an http or https address.
void __cdecl win_sparkle_set_appcast_url(const char* url);

// The library asks whether the program may end now for an installation.
void __cdecl win_sparkle_set_can_shutdown_callback(WinSparkleQuestion callback);
// The library has started the installer: the program must end.
void __cdecl win_sparkle_set_shutdown_request_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_did_find_update_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_did_not_find_update_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_error_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_update_postponed_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_update_skipped_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_update_cancelled_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_update_dismissed_callback(WinSparkleCallback callback);

// 1 is on, 0 is off. The library keeps the value in the registry.
void __cdecl win_sparkle_set_automatic_check_for_updates(int state);
int __cdecl win_sparkle_get_automatic_check_for_updates();
// In seconds, at least 3600.
void __cdecl win_sparkle_set_update_check_interval(int seconds);
int __cdecl win_sparkle_get_update_check_interval();
// The time of the last check in seconds since 1970 UTC; -1 if there was none.
std::time_t __cdecl win_sparkle_get_last_check_time();

// Call once, after all setters and after the window is shown. Returns at once.
void __cdecl win_sparkle_init();
// Starts a check whose outcome the library shows to the user. Returns at once.
void __cdecl win_sparkle_check_update_with_ui();
// Starts a check that shows a window only if there is an update. Returns at once.
void __cdecl win_sparkle_check_update_without_ui();
// Call last, and never from a callback. Checks that are under way go on and may still run
// callbacks.
void __cdecl win_sparkle_cleanup();

}  // extern "C"
