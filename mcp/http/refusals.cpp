#include "mcp/http/refusals.h"

#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "base/lock.h"
#include "base/thread.h"
#include "mcp/http/post.h"

namespace wendra {

struct HttpRefusals::Queue {
  struct Waiting {
    std::string text;
    FlowControl::Refusal count;
  };

  explicit Queue(std::shared_ptr<HttpLink> server) : link(std::move(server)) {}

  // The oldest refusal. None: the thread ends, and the next refusal starts another thread.
  std::optional<Waiting> TakeNext() {
    const std::lock_guard<Lock> guard(lock);
    if (waiting.empty()) {
      hasThread = false;
      return std::nullopt;
    }
    Waiting next = std::move(waiting.front());
    waiting.pop_front();
    return next;
  }

  const std::shared_ptr<HttpLink> link;
  Lock lock;
  std::deque<Waiting> waiting;
  bool hasThread = false;
};

HttpRefusals::HttpRefusals(std::shared_ptr<HttpLink> link)
    : queue_(std::make_shared<Queue>(std::move(link))) {}

void HttpRefusals::Send(std::string text) {
  FlowControl::Refusal count = queue_->link->AddRefusal(text.size());
  {
    const std::lock_guard<Lock> guard(queue_->lock);
    queue_->waiting.push_back({std::move(text), std::move(count)});
    if (std::exchange(queue_->hasThread, true)) return;
  }
  const auto run = [queue = queue_] {
    while (auto next = queue->TakeNext()) {
      PostRefusal(*queue->link, std::move(next->text), std::move(next->count));
    }
  };
  if (StartDetachedThread(run)) return;
  while (queue_->TakeNext()) continue;
}

}  // namespace wendra
