#include "mcp/flow_control.h"

#include <mutex>
#include <utility>

namespace wendra {
namespace {

constexpr std::size_t kMaxWaitingBytes = 256 << 10;
constexpr std::size_t kMessageBytes = 4 << 10;  // for each message: even short ones cost handling
constexpr std::size_t kMaxOfServerBytes = 64 * kMessageBytes;

}  // namespace

void FlowControl::Open(ServerId server) {
  const std::lock_guard<Lock> lock(lock_);
  bytesOfServer_.emplace(server, 0);
}

void FlowControl::Close(ServerId server) {
  const std::lock_guard<Lock> lock(lock_);
  bytesOfServer_.erase(server);
  changed_.WakeAll();
}

void FlowControl::Deliver(ServerId server, std::string message) {
  const std::size_t bytes = message.size();
  {
    const std::lock_guard<Lock> lock(lock_);
    if (!WaitForRoom(server)) return;
    Count(server, bytes);
  }
  if (!inbox_->DeliverText(server, std::move(message))) OnHandled(server, bytes);
}

void FlowControl::DeliverIfRoom(ServerId server, std::string message) {
  const std::size_t bytes = message.size();
  {
    const std::lock_guard<Lock> lock(lock_);
    if (isFull_ || !bytesOfServer_.contains(server) || !HasRoom(server)) return;
    Count(server, bytes);
  }
  if (!inbox_->DeliverText(server, std::move(message))) OnHandled(server, bytes);
}

void FlowControl::DeliverAtOnce(ServerId server, std::string message) {
  const std::size_t bytes = message.size();
  {
    const std::lock_guard<Lock> lock(lock_);
    Count(server, bytes);
  }
  if (!inbox_->PostText(server, std::move(message))) OnHandled(server, bytes);
}

// The caller holds the lock. False: the server is closed.
bool FlowControl::WaitForRoom(ServerId server) {
  const auto isClosed = [&] { return !bytesOfServer_.contains(server); };
  for (;;) {
    if (isFull_) {
      // A reader that wakes late goes on too, even when others have reached the limit again.
      const std::uint64_t before = timesEmptied_;
      changed_.Wait(lock_, [&] { return isClosed() || timesEmptied_ != before; });
    }
    if (isClosed()) return false;
    if (HasRoom(server)) return true;
    changed_.Wait(lock_, [&] { return isClosed() || HasRoom(server); });
  }
}

bool FlowControl::HasRoom(ServerId server) const {
  const auto counted = bytesOfServer_.find(server);
  return counted == bytesOfServer_.end() || counted->second < kMaxOfServerBytes;
}

void FlowControl::Count(ServerId server, std::size_t bytes) {
  const auto counted = bytesOfServer_.find(server);
  if (counted != bytesOfServer_.end()) counted->second += kMessageBytes + bytes;
  waitingBytes_ += kMessageBytes + bytes;
  if (waitingBytes_ >= kMaxWaitingBytes) isFull_ = true;
}

void FlowControl::OnHandled(ServerId server, std::size_t bytes) {
  const std::lock_guard<Lock> lock(lock_);
  ForgetOfServer(server, bytes);
  waitingBytes_ -= kMessageBytes + bytes;
  if (!isFull_ || waitingBytes_ > 0) return;
  isFull_ = false;
  ++timesEmptied_;
  changed_.WakeAll();
}

void FlowControl::ForgetOfServer(ServerId server, std::size_t bytes) {
  const auto counted = bytesOfServer_.find(server);
  if (counted == bytesOfServer_.end()) return;
  const bool hadRoom = HasRoom(server);
  counted->second -= kMessageBytes + bytes;
  if (!hadRoom && HasRoom(server)) changed_.WakeAll();
}

FlowControl::Refusal FlowControl::AddRefusal(ServerId server, std::size_t bytes) {
  {
    const std::lock_guard<Lock> lock(lock_);
    const auto counted = bytesOfServer_.find(server);
    if (counted != bytesOfServer_.end()) counted->second += kMessageBytes + bytes;
  }
  const auto end = [self = shared_from_this(), server, bytes](const void*) {
    const std::lock_guard<Lock> lock(self->lock_);
    self->ForgetOfServer(server, bytes);
  };
  return Refusal(static_cast<const void*>(this), end);
}

}  // namespace wendra
