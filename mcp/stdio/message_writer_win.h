// Writes messages to a child's standard input without making the sender wait for the child.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

#include "mcp/backlog_win.h"
#include "win/lock.h"
#include "win/unique.h"

namespace wendra {

// A thread of its own with a queue: the pipe holds 4 KiB, and a child that does not read must not
// stop the window. The thread starts with the first message, for what starts a server holds up the
// window. UI thread only.
class MessageWriter {
 public:
  // Takes the write end of the pipe.
  explicit MessageWriter(KernelHandle pipe);
  ~MessageWriter() { Stop(); }
  MessageWriter(const MessageWriter&) = delete;
  MessageWriter& operator=(const MessageWriter&) = delete;

  struct Message {
    std::string bytes;
    // In milliseconds, from the call of Write on: a message that is still waiting then is dropped.
    // 0: it waits as long as it takes.
    std::uint32_t limitMs = 0;
    Backlog::Refusal count{};  // let go of when the message has been written or dropped
  };

  // One write of all of the message's bytes, in order of the calls. What the pipe does not take is
  // lost: the end of the child's output tells why.
  void Write(Message message);

  // Closes the pipe; what waits is dropped. A write that is blocked is cancelled and its thread
  // closes the pipe. Does not wait. A second call does nothing.
  void Stop();

 private:
  struct Waiting {
    Message message;
    ULONGLONG dueMs;  // on the clock of GetTickCount64
  };
  struct Queue {
    void DropOverdue();  // at the front; under the lock

    Lock lock;
    Condition changed;
    std::deque<Waiting> waiting;
    bool isWriting = false;
    bool isStopped = false;
    KernelHandle pipe;  // closed by whoever sees first that it is stopped and nobody writes
  };
  using Job = std::shared_ptr<Queue>;

  static void Run(std::unique_ptr<Job> job);

  const Job queue_;
  bool isStarted_ = false;  // the thread has been, or could not be
};

}  // namespace wendra
