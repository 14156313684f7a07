#include "devruntime/webview2/control_record_win.h"

#include <utility>
#include <vector>

#include "json/objects.h"

namespace wendra {
namespace {

// DllMain gets no data of ours, so it finds the records here. Never freed: it runs after all
// destructors.
std::vector<std::weak_ptr<ControlRecord>>* records = nullptr;

}  // namespace

ControlRecord::ControlRecord(const ControlSettings& settings)
    : events_(std::make_shared<EventFile>(settings.eventsFile)),
      timings_(std::make_shared<HandlerTimings>(settings.timingsFile)) {}

void ControlRecord::ReportClosed(bool hasParent) {
  if (std::exchange(isReported_, true)) return;
  timings_->Write();
  events_->Write(MakeObject({{"event", "closed"}, {"hasParent", hasParent}}));
}

std::shared_ptr<ControlRecord> MakeControlRecord(const ControlSettings& settings) {
  auto record = std::make_shared<ControlRecord>(settings);
  if (!records) records = new std::vector<std::weak_ptr<ControlRecord>>;
  records->push_back(record);
  return record;
}

void ReportClosedAtProcessEnd() {
  if (!records) return;
  for (const auto& weak : *records) {
    if (const auto record = weak.lock()) record->ReportClosed(false);
  }
}

}  // namespace wendra
