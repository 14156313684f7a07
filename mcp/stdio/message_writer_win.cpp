#include "mcp/stdio/message_writer_win.h"

#include <mutex>
#include <utility>

#include "win/thread.h"

namespace wendra {
namespace {

constexpr ULONGLONG kNever = ~ULONGLONG{0};

}  // namespace

MessageWriter::MessageWriter(KernelHandle pipe) : queue_(std::make_shared<Queue>()) {
  queue_->pipe = std::move(pipe);
}

void MessageWriter::Write(Message message) {
  if (!isStarted_) {
    isStarted_ = true;
    auto job = std::make_unique<Job>(queue_);
    if (!StartThread<Run>(job)) Stop();  // no thread to be had: the child sees the end of its input
  }
  const std::lock_guard<Lock> lock(queue_->lock);
  if (queue_->isStopped) return;
  const ULONGLONG dueMs = message.limitMs ? GetTickCount64() + message.limitMs : kNever;
  queue_->DropOverdue();
  queue_->waiting.push_back({std::move(message), dueMs});
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

void MessageWriter::Queue::DropOverdue() {
  while (!waiting.empty() && waiting.front().dueMs <= GetTickCount64()) waiting.pop_front();
}

void MessageWriter::Run(std::unique_ptr<Job> job) {
  Queue& queue = **job;
  std::unique_lock<Lock> lock(queue.lock);
  for (;;) {
    queue.changed.Wait(queue.lock, [&] { return queue.isStopped || !queue.waiting.empty(); });
    if (queue.isStopped) return;
    queue.DropOverdue();
    if (queue.waiting.empty()) continue;
    const Message message = std::move(queue.waiting.front().message);
    queue.waiting.pop_front();
    queue.isWriting = true;
    lock.unlock();
    DWORD written = 0;
    (void)WriteFile(queue.pipe.Get(), message.bytes.data(),
                    static_cast<DWORD>(message.bytes.size()), &written, nullptr);
    lock.lock();
    queue.isWriting = false;
    if (queue.isStopped) return queue.pipe.Reset();
  }
}

}  // namespace wendra
