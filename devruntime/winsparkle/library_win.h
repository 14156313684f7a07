// The stand-in's state, one in a process.
#pragma once

#include <atomic>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>

#include "json/json.h"
#include "devruntime/winsparkle/call_record_win.h"
#include "devruntime/winsparkle/callbacks.h"
#include "devruntime/winsparkle/control_line_win.h"
#include "devruntime/winsparkle/settings_win.h"

namespace wendra {

class SparkleLibrary {
 public:
  SparkleLibrary();

  // Never destroyed, since its threads run until the process ends.
  static SparkleLibrary& Instance();

  const CallRecord& Record() const { return record_; }
  Callbacks& CallbackTable() { return callbacks_; }

  // The stored settings, kept for this process only.
  void SetAutomatic(int state) { automatic_ = state; }
  int Automatic() const;
  void SetInterval(int seconds);
  int Interval() const;
  std::time_t LastCheck() const;

  // Makes the connection over which a test has callbacks called.
  void Init();

  // The real library's checks do not stop here. When so set, every callback is called once more, on
  // a thread of its own, before this returns.
  void CleanUp();

  // When so set, every callback is called a last time, on the thread that ends the process.
  void AtProcessEnd();

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
