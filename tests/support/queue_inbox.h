// An inbox that keeps its messages in a queue. The test takes them out on its own thread.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "base/lock.h"
#include "mcp/inbox.h"

namespace wendra {

struct OutputClosed {};

struct InboxMessage {
  ServerId server;
  std::variant<std::string, OutputClosed, PostStatus> content;
};

class QueueInbox : public Inbox {
 public:
  bool DeliverText(ServerId server, std::string text) override {
    return Add({server, std::move(text)});
  }
  bool PostText(ServerId server, std::string text) override {
    return Add({server, std::move(text)});
  }
  bool DeliverClosed(ServerId server) override { return Add({server, OutputClosed{}}); }
  bool DeliverStatus(ServerId server, PostStatus status) override { return Add({server, status}); }

  // Takes out the oldest message. Waits for one at most `maxMs` milliseconds; then nothing.
  std::optional<InboxMessage> Take(std::uint32_t maxMs) {
    const std::lock_guard<Lock> lock(lock_);
    if (!changed_.WaitFor(lock_, maxMs, [this] { return !messages_.empty(); })) return {};
    InboxMessage message = std::move(messages_.front());
    messages_.pop_front();
    return message;
  }

  // From now on the inbox accepts no messages, like a window that has been destroyed.
  void Close() {
    const std::lock_guard<Lock> lock(lock_);
    isClosed_ = true;
    messages_.clear();
  }

 private:
  bool Add(InboxMessage message) {
    const std::lock_guard<Lock> lock(lock_);
    if (isClosed_) return false;
    messages_.push_back(std::move(message));
    changed_.WakeAll();
    return true;
  }

  Lock lock_;
  Condition changed_;
  std::deque<InboxMessage> messages_;
  bool isClosed_ = false;
};

}  // namespace wendra
