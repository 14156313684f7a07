// A line to a test: it says which callback to call, and hears what came of it.
#pragma once

#include <winsock2.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace wendra {

// A connection to 127.0.0.1, for as long as the process lives.
class ControlLine {
 public:
  // Connects, and on a thread of its own hands each line that comes to `onLine`. With no listener
  // on `port` nothing happens. Meant to be never destroyed: the thread ends with the process.
  ControlLine(std::uint16_t port, std::function<void(std::string)> onLine);

  // One line, the line end is added. Any thread.
  void Send(std::string line) const;

 private:
  void Receive() const;

  SOCKET socket_ = INVALID_SOCKET;
  const std::function<void(std::string)> onLine_;
};

}  // namespace wendra
