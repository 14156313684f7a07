// The functions of WinSparkle.dll that the program calls, and no others. Callbacks come on threads
// of the library's own, some of them while it holds a lock that its setters take too: they must
// neither wait for the UI thread nor call back into the library.
#pragma once

#include <ctime>

namespace wendra {

inline constexpr char kWinSparkleVersion[] = "0.9.4";  // the version these were written for

}  // namespace wendra

extern "C" {

using WinSparkleCallback = void(__cdecl*)();
using WinSparkleQuestion = int(__cdecl*)();  // non-zero is yes

// Before win_sparkle_init. `url` is http or https.
void __cdecl win_sparkle_set_appcast_url(const char* url);

// Whether the program may be closed for an installation.
void __cdecl win_sparkle_set_can_shutdown_callback(WinSparkleQuestion callback);
// The installer has been started: the program has to end.
void __cdecl win_sparkle_set_shutdown_request_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_did_find_update_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_did_not_find_update_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_error_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_update_postponed_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_update_skipped_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_update_cancelled_callback(WinSparkleCallback callback);
void __cdecl win_sparkle_set_update_dismissed_callback(WinSparkleCallback callback);

// 1 or 0; kept in the registry.
void __cdecl win_sparkle_set_automatic_check_for_updates(int state);
int __cdecl win_sparkle_get_automatic_check_for_updates();
// Seconds, at least 3600.
void __cdecl win_sparkle_set_update_check_interval(int seconds);
int __cdecl win_sparkle_get_update_check_interval();
// Seconds since 1970 UTC; -1 when there was none.
std::time_t __cdecl win_sparkle_get_last_check_time();

// Once, after everything is set and the window is visible. Returns at once, as the next does.
void __cdecl win_sparkle_init();
void __cdecl win_sparkle_check_update_with_ui();
// Last; never from a callback. Checks that are under way go on and may still call back.
void __cdecl win_sparkle_cleanup();

}  // extern "C"
