#include "devruntime/winsparkle/control_line_win.h"

#include <utility>

#include "base/thread.h"

#include <windows.h>

namespace wendra {
namespace {

// INVALID_SOCKET when no test listens.
SOCKET ConnectTo(std::uint16_t port) {
  WSADATA facts{};
  if (WSAStartup(MAKEWORD(2, 2), &facts) != 0) return INVALID_SOCKET;
  const SOCKET connection = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  return connect(connection, generic, sizeof(address)) == 0 ? connection : INVALID_SOCKET;
}

}  // namespace

ControlLine::ControlLine(std::uint16_t port, std::function<void(std::string)> onLine)
    : socket_(ConnectTo(port)), onLine_(std::move(onLine)) {
  if (socket_ != INVALID_SOCKET) (void)StartDetachedThread([this] { Receive(); });
}

void ControlLine::Receive() const {
  std::string line;
  char c = 0;
  while (recv(socket_, &c, 1, 0) == 1) {  // only a few short lines come
    if (c != '\n') {
      line += c;
      continue;
    }
    onLine_(std::exchange(line, {}));
  }
}

void ControlLine::Send(std::string line) const {
  line += '\n';
  (void)send(socket_, line.data(), static_cast<int>(line.size()),
             0);  // fails when the test is gone
}

}  // namespace wendra
