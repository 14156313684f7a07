// The state of the stand-in for WinSparkle; one for the process.
#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>

#include "devruntime/winsparkle/call_record_win.h"
#include "devruntime/winsparkle/callbacks.h"
#include "devruntime/winsparkle/control_line_win.h"
#include "json/json.h"

namespace wendra {

// docs/runtime-winsparkle.md lists the environment variables that hold them.
struct SparkleSettings {
  std::wstring callsFile;         // "" for none
  std::uint16_t controlPort = 0;  // on 127.0.0.1; 0 for none
  // The results of the getters, instead of the stored settings.
  std::optional<long long> automatic;
  std::optional<long long> intervalSeconds;
  std::optional<long long> lastCheckSeconds;  // since 1970 UTC
  bool callsBackLate = false;                 // during the clean-up, and when the process ends
};

// Any thread.
class SparkleLibrary {
 public:
  SparkleLibrary();

  // Never destroyed, because its threads run until the process ends.
  static SparkleLibrary& Instance();

  const CallRecord& Record() const { return record_; }
  Callbacks& CallbackTable() { return callbacks_; }

  // The stored settings; they live as long as the process.
  void SetAutomatic(int state) { automatic_ = state; }
  int Automatic() const;
  void SetInterval(int seconds);
  int Interval() const;
  std::time_t LastCheck() const;

  // Connects to the test. One thread at a time.
  void Init();

  // With `callsBackLate` every callback is called once more, on another thread, before this
  // returns: checks of the real library go on during its clean-up.
  void CleanUp();

  // With `callsBackLate` every callback is called a last time, on the thread that ends the process.
  void OnProcessEnd();

 private:
  Json Fire(const std::string& callback);
  void FireAll();

  const SparkleSettings settings_;
  const CallRecord record_;
  Callbacks callbacks_;
  std::atomic<int> automatic_ = 0;
  std::atomic<int> intervalSeconds_;
  std::unique_ptr<ControlLine> control_;
};

}  // namespace wendra
