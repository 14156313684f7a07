#include "mcp/stdio/message_writer.h"

#include <mutex>
#include <utility>

#include "base/clock.h"
#include "base/thread.h"

namespace wendra {
namespace {

constexpr std::uint64_t kNever = ~std::uint64_t{0};

}  // namespace

MessageWriter::MessageWriter(std::shared_ptr<Pipe> pipe) : queue_(std::make_shared<Queue>()) {
  queue_->pipe = std::move(pipe);
}

void MessageWriter::Write(Message message) {
  if (!isStarted_) {
    isStarted_ = true;
    // Without a thread, close the pipe: the child sees the end of its input.
    if (!StartDetachedThread([queue = queue_] { Run(*queue); })) Stop();
  }
  const std::lock_guard<Lock> lock(queue_->lock);
  if (queue_->isStopped) return;
  const std::uint64_t dueMs = message.limitMs ? ClockMs() + message.limitMs : kNever;
  queue_->DropOverdue();
  queue_->waiting.push_back({std::move(message), dueMs});
  queue_->changed.WakeOne();
}

void MessageWriter::Stop() {
  std::shared_ptr<Pipe> pipe;  // declared first: may close the pipe, after the unlock
  const std::lock_guard<Lock> lock(queue_->lock);
  if (queue_->isStopped) return;
  queue_->isStopped = true;
  queue_->waiting.clear();
  queue_->changed.WakeOne();
  pipe = std::exchange(queue_->pipe, nullptr);
  if (pipe) pipe->Cancel();
}

void MessageWriter::Queue::DropOverdue() {
  while (!waiting.empty() && waiting.front().dueMs <= ClockMs()) waiting.pop_front();
}

void MessageWriter::Run(Queue& queue) {
  std::unique_lock<Lock> lock(queue.lock);
  for (;;) {
    queue.changed.Wait(queue.lock, [&] { return queue.isStopped || !queue.waiting.empty(); });
    if (queue.isStopped) return;
    queue.DropOverdue();
    if (queue.waiting.empty()) continue;
    Message message = std::move(queue.waiting.front().message);
    queue.waiting.pop_front();
    std::shared_ptr<Pipe> pipe = queue.pipe;
    lock.unlock();
    pipe->Write(message.bytes);
    message = {};
    pipe.reset();  // after a stop, closes the pipe
    lock.lock();
  }
}

}  // namespace wendra
