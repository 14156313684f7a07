#include "mcp/http/http_refusals_win.h"

#include <deque>
#include <mutex>
#include <optional>
#include <utility>

#include "mcp/http/http_post_win.h"
#include "win/lock.h"
#include "win/thread.h"

namespace wendra {

struct HttpRefusals::Queue {
  struct Waiting {
    std::string text;
    Backlog::Refusal count;
  };

  explicit Queue(std::shared_ptr<HttpLink> server) : link(std::move(server)) {}

  // The oldest. None: the thread ends, and the next refusal starts another.
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
  Backlog::Refusal count = queue_->link->AddRefusal(text.size());
  {
    const std::lock_guard<Lock> guard(queue_->lock);
    queue_->waiting.push_back({std::move(text), std::move(count)});
    if (std::exchange(queue_->hasThread, true)) return;
  }
  auto job = std::make_unique<std::shared_ptr<Queue>>(queue_);
  if (StartThread<Run>(job)) return;
  while (queue_->TakeNext()) continue;
}

void HttpRefusals::Run(std::unique_ptr<std::shared_ptr<Queue>> job) {
  Queue& queue = **job;
  while (auto next = queue.TakeNext()) {
    PostRefusal(queue.link, std::move(next->text), std::move(next->count));
  }
}

}  // namespace wendra
