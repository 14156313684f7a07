#include "mcp/backlog_win.h"

#include <memory>
#include <mutex>
#include <utility>

#include "win/messages.h"
#include "win/owned_message.h"

namespace wendra {
namespace {

constexpr size_t kMaxUnderWayBytes = 256 << 10;
constexpr size_t kMessageBytes = 4 << 10;  // what handling costs, however short a message is

}  // namespace

void Backlog::Deliver(HWND window, WPARAM server, std::string message,
                      const std::atomic<bool>& isStopped) {
  const size_t bytes = message.size();
  if (!Add(bytes, isStopped)) return;
  auto text = std::make_unique<std::string>(std::move(message));
  if (!DeliverOwned(window, kMcpMessage, server, std::move(text))) Remove(bytes);
}

void Backlog::DeliverAtOnce(HWND window, WPARAM server, std::string message) {
  const size_t bytes = message.size();
  {
    const std::lock_guard<Lock> lock(lock_);
    Count(bytes);
  }
  auto text = std::make_unique<std::string>(std::move(message));
  if (!PostOwned(window, kMcpMessage, server, std::move(text))) Remove(bytes);
}

bool Backlog::Add(size_t bytes, const std::atomic<bool>& isStopped) {
  const std::lock_guard<Lock> lock(lock_);
  if (isFull_) {
    // Each has its turn then, even when others have filled it again by the time this one wakes.
    changed_.Wait(lock_, [this, &isStopped, before = timesEmptied_] {
      return isStopped || timesEmptied_ != before;
    });
  }
  if (isStopped) return false;
  Count(bytes);
  return true;
}

void Backlog::Count(size_t bytes) {
  underWayBytes_ += kMessageBytes + bytes;
  if (underWayBytes_ >= kMaxUnderWayBytes) isFull_ = true;
}

void Backlog::Remove(size_t bytes) {
  const std::lock_guard<Lock> lock(lock_);
  underWayBytes_ -= kMessageBytes + bytes;
  if (!isFull_ || underWayBytes_ > 0) return;
  isFull_ = false;
  ++timesEmptied_;
  changed_.WakeAll();
}

void Backlog::WakeStopped() {
  const std::lock_guard<Lock> lock(lock_);
  changed_.WakeAll();
}

}  // namespace wendra
