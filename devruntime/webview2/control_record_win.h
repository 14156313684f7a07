// What tools learn about a control when it ends: that it has closed, and how long the host's
// handlers took.
#pragma once

#include <memory>

#include "devruntime/base/event_file_win.h"
#include "devruntime/webview2/handler_timings_win.h"
#include "devruntime/webview2/settings_win.h"

namespace wendra {

class ControlRecord {
 public:
  explicit ControlRecord(const ControlSettings& settings);

  const std::shared_ptr<const EventFile>& Events() const { return events_; }
  const std::shared_ptr<HandlerTimings>& Timings() const { return timings_; }

  // Writes both reports; the second call does nothing. `hasParent`: whether the control's parent
  // window still exists.
  void ReportClosed(bool hasParent);

 private:
  const std::shared_ptr<const EventFile> events_;
  const std::shared_ptr<HandlerTimings> timings_;
  bool isReported_ = false;
};

// A record that also reports when the process ends before the control has closed. UI thread.
std::shared_ptr<ControlRecord> MakeControlRecord(const ControlSettings& settings);

// Reports what has not been reported. Call it while the process ends, when no other thread runs any
// more.
void ReportClosedAtProcessEnd();

}  // namespace wendra
