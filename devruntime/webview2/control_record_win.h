// What is reported about a control when it ends: that it has, and how its handlers did. Also when
// the host just exits.
#pragma once

#include <memory>

#include "devruntime/webview2/event_file_win.h"
#include "devruntime/webview2/handler_timings_win.h"
#include "devruntime/webview2/settings_win.h"

namespace wendra {

class ControlRecord {
 public:
  explicit ControlRecord(const Settings& settings);

  const std::shared_ptr<const EventFile>& Events() const { return events_; }
  const std::shared_ptr<HandlerTimings>& Timings() const { return timings_; }

  // Writes the report; from the second time on it does nothing. `hasParent`: whether the window
  // that the control was in is still there.
  void TellClosed(bool hasParent);

 private:
  std::shared_ptr<const EventFile> events_;
  std::shared_ptr<HandlerTimings> timings_;
  bool told_ = false;
};

// UI thread. The record is told to report when the process ends, if it still lives then.
std::shared_ptr<ControlRecord> MakeControlRecord(const Settings& settings);

// While the process ends and no other thread runs any more.
void TellClosedAtProcessEnd();

}  // namespace wendra
