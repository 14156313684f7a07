// One end of a pipe to a child process, as the code that reads and writes messages sees it.
#pragma once

#include <cstddef>
#include <string_view>

namespace wendra {

// The destructor closes it. One thread reads or writes; any thread may call Cancel.
class Pipe {
 public:
  virtual ~Pipe() = default;

  // Waits for bytes and reads at most `bytes` of them. 0: the end of the stream, a failure, or
  // Cancel.
  virtual std::size_t Read(char* buffer, std::size_t bytes) = 0;

  // Writes all of `bytes` in one write; waits while the pipe is full. Bytes that the pipe does not
  // take are lost.
  virtual void Write(std::string_view bytes) = 0;

  // Ends the read or write that waits, and every later one at once.
  virtual void Cancel() = 0;
};

}  // namespace wendra
