#include "devruntime/winsparkle/library_win.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "base/thread.h"
#include "devruntime/base/variables_win.h"
#include "json/objects.h"
#include "win/thread.h"

#include <windows.h>

namespace wendra {
namespace {

// The documented values of the real library.
constexpr int kDefaultIntervalSeconds = 86'400;
constexpr int kShortestIntervalSeconds = 3'600;
constexpr long long kNeverChecked = -1;

SparkleSettings ReadSparkleSettings() {
  SparkleSettings settings;
  settings.callsFile = DevFile(L"WENDRA_DEV_WINSPARKLE_CALLS");
  settings.controlPort =
      static_cast<std::uint16_t>(DevNumber(L"WENDRA_DEV_WINSPARKLE_CONTROL").value_or(0));
  settings.automatic = DevNumber(L"WENDRA_DEV_WINSPARKLE_AUTOMATIC");
  settings.intervalSeconds = DevNumber(L"WENDRA_DEV_WINSPARKLE_INTERVAL");
  settings.lastCheckSeconds = DevNumber(L"WENDRA_DEV_WINSPARKLE_LAST_CHECK");
  settings.callsBackLate = DevNumber(L"WENDRA_DEV_WINSPARKLE_LATE").value_or(0) != 0;
  return settings;
}

using Job = std::function<void()>;

void RunJob(std::unique_ptr<Job> job) { (*job)(); }

}  // namespace

SparkleLibrary::SparkleLibrary()
    : settings_(ReadSparkleSettings()),
      record_(settings_.callsFile),
      intervalSeconds_(kDefaultIntervalSeconds) {}

SparkleLibrary& SparkleLibrary::Instance() {
  static auto* const library = new SparkleLibrary;
  return *library;
}

int SparkleLibrary::Automatic() const {
  return static_cast<int>(settings_.automatic.value_or(automatic_));
}

void SparkleLibrary::SetInterval(int seconds) {
  intervalSeconds_ = std::max(seconds, kShortestIntervalSeconds);
}

int SparkleLibrary::Interval() const {
  return static_cast<int>(settings_.intervalSeconds.value_or(intervalSeconds_));
}

std::time_t SparkleLibrary::LastCheck() const {
  return static_cast<std::time_t>(settings_.lastCheckSeconds.value_or(kNeverChecked));
}

void SparkleLibrary::Init() {
  if (settings_.controlPort == 0 || control_) return;
  control_ = std::make_unique<ControlLine>(settings_.controlPort, [this](std::string callback) {
    // A new thread each time, so that no callback comes on the program's thread or on the thread of
    // another callback.
    (void)StartDetachedThread(
        [this, callback = std::move(callback)] { control_->Send(ToText(Fire(callback))); });
  });
}

// The reply to the test: {"fired":…,"returned":…}, or {"error":…}.
Json SparkleLibrary::Fire(const std::string& callback) {
  const std::optional<Json> returned = callbacks_.Fire(callback);
  if (!returned) return MakeObject({{"error", "no callback " + callback}});
  record_.Fired(callback, *returned);
  return MakeObject({{"fired", callback}, {"returned", *returned}});
}

void SparkleLibrary::FireAll() {
  for (const std::string_view name : Callbacks::Names()) (void)Fire(std::string(name));
}

void SparkleLibrary::CleanUp() {
  if (!settings_.callsBackLate) return;
  auto job = std::make_unique<Job>([this] { FireAll(); });
  const KernelHandle thread = StartThread<RunJob>(job);
  (void)WaitForSingleObject(thread.Get(), INFINITE);
}

void SparkleLibrary::OnProcessEnd() {
  if (settings_.callsBackLate) FireAll();
}

}  // namespace wendra
