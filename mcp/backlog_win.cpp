#include "mcp/backlog_win.h"

#include <mutex>

namespace wendra {

bool Backlog::Enter() {
  std::lock_guard<Lock> lock(lock_);
  changed_.Wait(lock_, [this] { return isClosed_ || messages_ < kMostMessages; });
  if (isClosed_) return false;
  ++messages_;
  return true;
}

void Backlog::Leave() {
  const std::lock_guard<Lock> lock(lock_);
  if (messages_ > 0) --messages_;  // one that was made in this process has not entered
  changed_.WakeOne();
}

void Backlog::Close() {
  const std::lock_guard<Lock> lock(lock_);
  isClosed_ = true;
  changed_.WakeAll();
}

}  // namespace wendra
