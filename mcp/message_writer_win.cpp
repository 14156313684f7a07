#include "mcp/message_writer_win.h"

#include <mutex>
#include <utility>

#include "win/thread.h"

namespace wendra {

MessageWriter::MessageWriter(KernelHandle pipe) : queue_(std::make_shared<Queue>()) {
  queue_->pipe = std::move(pipe);
}

void MessageWriter::Write(std::string bytes) {
  if (!isStarted_) {
    isStarted_ = true;
    auto job = std::make_unique<Job>(queue_);
    if (!StartThread<Run>(job)) Stop();  // no thread to be had: the child sees the end of its input
  }
  const std::lock_guard<Lock> lock(queue_->lock);
  if (queue_->isStopped) return;
  queue_->waiting.push_back(std::move(bytes));
  queue_->changed.WakeOne();
}

void MessageWriter::Stop() {
  const std::lock_guard<Lock> lock(queue_->lock);
  if (queue_->isStopped) return;
  queue_->isStopped = true;
  queue_->waiting.clear();
  if (queue_->isWriting) {
    (void)CancelIoEx(queue_->pipe.Get(), nullptr);
  } else {
    queue_->pipe.Reset();
  }
  queue_->changed.WakeOne();
}

void MessageWriter::Run(std::unique_ptr<Job> job) {
  Queue& queue = **job;
  std::unique_lock<Lock> lock(queue.lock);
  for (;;) {
    queue.changed.Wait(queue.lock, [&] { return queue.isStopped || !queue.waiting.empty(); });
    if (queue.isStopped) return;
    const std::string bytes = std::move(queue.waiting.front());
    queue.waiting.pop_front();
    queue.isWriting = true;
    lock.unlock();
    DWORD written = 0;
    (void)WriteFile(queue.pipe.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                    nullptr);
    lock.lock();
    queue.isWriting = false;
    if (queue.isStopped) return queue.pipe.Reset();
  }
}

}  // namespace wendra
