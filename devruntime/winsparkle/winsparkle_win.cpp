// The functions that the DLL exports, and its end. Each records its call first.
#include <ctime>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "devruntime/winsparkle/library_win.h"
#include "update/winsparkle_win.h"

#include <windows.h>

namespace wendra {
namespace {

// A list of one argument.
Json Arguments(Json argument) {
  Json arguments = Json::Array();
  arguments.items.push_back(std::move(argument));
  return arguments;
}

SparkleLibrary& Called(const char* function, Json arguments = Json::Array()) {
  SparkleLibrary& library = SparkleLibrary::Instance();
  library.Record().Called(function, std::move(arguments));
  return library;
}

// The program sets or removes the callback `name`. The record shows it as true or null.
template <typename Callback>
void CalledWithCallback(std::string_view name, Callback callback) {
  const std::string function = "win_sparkle_set_" + std::string(name) + "_callback";
  SparkleLibrary& library =
      Called(function.c_str(), Arguments(callback ? Json(true) : Json(nullptr)));
  Callbacks::Run run;
  if (callback) {
    run = [callback]() -> Json {
      if constexpr (std::is_void_v<decltype(callback())>) {
        callback();
        return nullptr;
      } else {
        return callback();
      }
    };
  }
  library.CallbackTable().Set(name, std::move(run));
}

}  // namespace
}  // namespace wendra

using namespace wendra;

extern "C" void __cdecl win_sparkle_set_appcast_url(const char* url) {
  Called("win_sparkle_set_appcast_url", Arguments(url));
}
extern "C" void __cdecl win_sparkle_set_can_shutdown_callback(WinSparkleQuestion callback) {
  CalledWithCallback("can_shutdown", callback);
}
extern "C" void __cdecl win_sparkle_set_shutdown_request_callback(WinSparkleCallback callback) {
  CalledWithCallback("shutdown_request", callback);
}
extern "C" void __cdecl win_sparkle_set_did_find_update_callback(WinSparkleCallback callback) {
  CalledWithCallback("did_find_update", callback);
}
extern "C" void __cdecl win_sparkle_set_did_not_find_update_callback(WinSparkleCallback callback) {
  CalledWithCallback("did_not_find_update", callback);
}
extern "C" void __cdecl win_sparkle_set_error_callback(WinSparkleCallback callback) {
  CalledWithCallback("error", callback);
}
extern "C" void __cdecl win_sparkle_set_update_postponed_callback(WinSparkleCallback callback) {
  CalledWithCallback("update_postponed", callback);
}
extern "C" void __cdecl win_sparkle_set_update_skipped_callback(WinSparkleCallback callback) {
  CalledWithCallback("update_skipped", callback);
}
extern "C" void __cdecl win_sparkle_set_update_cancelled_callback(WinSparkleCallback callback) {
  CalledWithCallback("update_cancelled", callback);
}
extern "C" void __cdecl win_sparkle_set_update_dismissed_callback(WinSparkleCallback callback) {
  CalledWithCallback("update_dismissed", callback);
}

extern "C" void __cdecl win_sparkle_set_automatic_check_for_updates(int state) {
  Called("win_sparkle_set_automatic_check_for_updates", Arguments(state)).SetAutomatic(state);
}
extern "C" int __cdecl win_sparkle_get_automatic_check_for_updates() {
  return Called("win_sparkle_get_automatic_check_for_updates").Automatic();
}
extern "C" void __cdecl win_sparkle_set_update_check_interval(int seconds) {
  Called("win_sparkle_set_update_check_interval", Arguments(seconds)).SetInterval(seconds);
}
extern "C" int __cdecl win_sparkle_get_update_check_interval() {
  return Called("win_sparkle_get_update_check_interval").Interval();
}
extern "C" std::time_t __cdecl win_sparkle_get_last_check_time() {
  return Called("win_sparkle_get_last_check_time").LastCheck();
}

extern "C" void __cdecl win_sparkle_init() { Called("win_sparkle_init").Init(); }
extern "C" void __cdecl win_sparkle_check_update_with_ui() {
  Called("win_sparkle_check_update_with_ui");
}
extern "C" void __cdecl win_sparkle_check_update_without_ui() {
  Called("win_sparkle_check_update_without_ui");
}
extern "C" void __cdecl win_sparkle_cleanup() { Called("win_sparkle_cleanup").CleanUp(); }

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID processEnds) {
  if (reason == DLL_PROCESS_DETACH && processEnds) SparkleLibrary::Instance().OnProcessEnd();
  return TRUE;
}
