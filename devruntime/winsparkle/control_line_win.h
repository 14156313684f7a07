// The connection to a test, which says which callbacks to call and gets the results.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include <winsock2.h>

namespace wendra {

// A connection to 127.0.0.1. Never destroyed: its thread runs until the process ends.
class ControlLine {
 public:
  // Connects. A thread of its own passes each line that comes to `onLine`. Nothing happens when no
  // test listens on `port`.
  ControlLine(std::uint16_t port, std::function<void(std::string)> onLine);

  // Sends one line; the line end is added. Any thread.
  void Send(std::string line) const;

 private:
  void Receive() const;

  const SOCKET socket_;
  const std::function<void(std::string)> onLine_;
};

}  // namespace wendra
