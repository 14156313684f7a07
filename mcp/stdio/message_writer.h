// Writes messages to a child's standard input without making the sender wait for the child. Pure.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "base/lock.h"
#include "mcp/flow_control.h"
#include "mcp/stdio/pipe.h"

namespace wendra {

// Has a queue and a thread: the pipe holds 4 KiB, and a child that does not read must not block the
// UI thread. The thread starts with the first message, to keep the start of a server short. UI
// thread only.
class MessageWriter {
 public:
  explicit MessageWriter(std::shared_ptr<Pipe> pipe);
  ~MessageWriter() { Stop(); }
  MessageWriter(const MessageWriter&) = delete;
  MessageWriter& operator=(const MessageWriter&) = delete;

  struct Message {
    std::string bytes;
    // In milliseconds from the call of Write: a message that still waits in the queue then is
    // dropped. 0: no limit.
    std::uint32_t limitMs = 0;
    FlowControl::Refusal count{};  // released when the message has been written or dropped
  };

  // Writes each message in one write, in the order of the calls. A message that the pipe does not
  // take is lost; the end of the child's output then shows that the child is gone.
  void Write(Message message);

  // Closes the pipe and drops the messages that wait. During a write, cancels it, and the writing
  // thread closes the pipe. Does not wait. A second call does nothing.
  void Stop();

 private:
  struct Waiting {
    Message message;
    std::uint64_t dueMs;  // on the clock of ClockMs
  };
  struct Queue {
    void DropOverdue();  // only at the front; the caller holds the lock

    Lock lock;
    Condition changed;
    std::deque<Waiting> waiting;
    bool isStopped = false;
    // Null once stopped. The last owner closes it: the thread during a write, otherwise Stop.
    std::shared_ptr<Pipe> pipe;
  };

  static void Run(Queue& queue);

  const std::shared_ptr<Queue> queue_;
  bool isStarted_ = false;  // the thread has been started, or could not be
};

}  // namespace wendra
