#include "update/outlet.h"

namespace wendra {

void UpdateOutlet::Line(std::string_view line) {
  const std::lock_guard lock(mutex_);
  if (log_) log_->LineFromAnyThread(line);
}

void UpdateOutlet::CloseWindow() {
  const std::lock_guard lock(mutex_);
  if (log_) closeWindow_();
}

void UpdateOutlet::PersonAsks() {
  const std::lock_guard lock(mutex_);
  hasPersonAsked_ = true;
}

void UpdateOutlet::CheckEnded(bool hasFailed) {
  const std::lock_guard lock(mutex_);
  const bool hasPersonAsked = std::exchange(hasPersonAsked_, false);
  if (log_ && hasFailed && !hasPersonAsked) askForRetry_();
}

void UpdateOutlet::Shut() {
  const std::lock_guard lock(mutex_);
  log_ = nullptr;
}

}  // namespace wendra
