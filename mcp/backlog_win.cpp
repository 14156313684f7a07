#include "mcp/backlog_win.h"

#include <algorithm>
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

void Backlog::Deliver(HWND window, WPARAM server, std::string message) {
  const size_t bytes = message.size();
  if (!Add(bytes)) return;
  auto text = std::make_unique<std::string>(std::move(message));
  if (!DeliverOwned(window, kMcpMessage, server, std::move(text))) Remove(bytes);
}

bool Backlog::Add(size_t bytes) {
  const std::lock_guard<Lock> lock(lock_);
  if (underWayBytes_ >= kMaxUnderWayBytes) {
    changed_.Wait(lock_, [this] { return isStopped_ || underWayBytes_ == 0; });
  }
  if (isStopped_) return false;
  underWayBytes_ += kMessageBytes + bytes;
  return true;
}

void Backlog::Remove(size_t bytes) {
  const std::lock_guard<Lock> lock(lock_);
  // What the window has posted to itself was not added.
  underWayBytes_ -= std::min(underWayBytes_, kMessageBytes + bytes);
  if (underWayBytes_ == 0) changed_.WakeAll();
}

void Backlog::Stop() {
  const std::lock_guard<Lock> lock(lock_);
  isStopped_ = true;
  changed_.WakeAll();
}

}  // namespace wendra
