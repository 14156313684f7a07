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
constexpr size_t kMaxOfServerBytes = 64 * kMessageBytes;

}  // namespace

void Backlog::Deliver(HWND window, WPARAM server, std::string message, Share& share) {
  if (Add(message.size(), share)) Post(window, server, std::move(message), share);
}

void Backlog::DeliverIfRoom(HWND window, WPARAM server, std::string message, Share& share) {
  {
    const std::lock_guard<Lock> lock(lock_);
    if (share.isStopped_ || isFull_ || !HasRoom(share)) return;
    Count(message.size(), share);
  }
  Post(window, server, std::move(message), share);
}

void Backlog::Post(HWND window, WPARAM server, std::string message, Share& share) {
  const size_t bytes = message.size();
  auto text = std::make_unique<std::string>(std::move(message));
  if (!DeliverOwned(window, kMcpMessage, server, std::move(text))) Remove(bytes, share);
}

void Backlog::DeliverAtOnce(HWND window, WPARAM server, std::string message, Share& share) {
  const size_t bytes = message.size();
  {
    const std::lock_guard<Lock> lock(lock_);
    Count(bytes, share);
  }
  auto text = std::make_unique<std::string>(std::move(message));
  if (!PostOwned(window, kMcpMessage, server, std::move(text))) Remove(bytes, share);
}

bool Backlog::Add(size_t bytes, Share& share) {
  const std::lock_guard<Lock> lock(lock_);
  for (;;) {
    if (isFull_) {
      // Each has its turn then, even when others have filled it again by the time this one wakes.
      changed_.Wait(lock_, [this, &share, before = timesEmptied_] {
        return share.isStopped_ || timesEmptied_ != before;
      });
    }
    if (share.isStopped_) return false;
    if (HasRoom(share)) break;
    changed_.Wait(lock_, [this, &share] { return share.isStopped_ || HasRoom(share); });
  }
  Count(bytes, share);
  return true;
}

bool Backlog::HasRoom(const Share& share) const { return share.bytes_ < kMaxOfServerBytes; }

void Backlog::Count(size_t bytes, Share& share) {
  share.bytes_ += kMessageBytes + bytes;
  underWayBytes_ += kMessageBytes + bytes;
  if (underWayBytes_ >= kMaxUnderWayBytes) isFull_ = true;
}

void Backlog::Remove(size_t bytes, Share& share) {
  const std::lock_guard<Lock> lock(lock_);
  RemoveOfServer(bytes, share);
  underWayBytes_ -= kMessageBytes + bytes;
  if (!isFull_ || underWayBytes_ > 0) return;
  isFull_ = false;
  ++timesEmptied_;
  changed_.WakeAll();
}

void Backlog::RemoveOfServer(size_t bytes, Share& share) {
  const bool hadRoom = HasRoom(share);
  share.bytes_ -= kMessageBytes + bytes;
  if (!hadRoom && HasRoom(share)) changed_.WakeAll();
}

Backlog::Refusal Backlog::AddRefusal(size_t bytes, const std::shared_ptr<Share>& share) {
  {
    const std::lock_guard<Lock> lock(lock_);
    share->bytes_ += kMessageBytes + bytes;
  }
  const auto end = [self = shared_from_this(), share, bytes](const void*) {
    const std::lock_guard<Lock> lock(self->lock_);
    self->RemoveOfServer(bytes, *share);
  };
  return Refusal(static_cast<const void*>(share.get()), end);
}

void Backlog::Stop(Share& share) {
  const std::lock_guard<Lock> lock(lock_);
  share.isStopped_ = true;
  changed_.WakeAll();
}

}  // namespace wendra
