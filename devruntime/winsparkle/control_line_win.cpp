#include "devruntime/winsparkle/control_line_win.h"

#include <thread>
#include <utility>

#include <windows.h>

namespace wendra {
namespace {

SOCKET ConnectTo(std::uint16_t port) {
  WSADATA facts{};
  if (WSAStartup(MAKEWORD(2, 2), &facts) != 0) return INVALID_SOCKET;
  const SOCKET made = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const auto* generic = reinterpret_cast<const sockaddr*>(&address);
  return connect(made, generic, sizeof(address)) == 0 ? made : INVALID_SOCKET;
}

}  // namespace

ControlLine::ControlLine(std::uint16_t port, std::function<void(std::string)> onLine)
    : socket_(ConnectTo(port)), onLine_(std::move(onLine)) {
  if (socket_ != INVALID_SOCKET) std::thread([this] { Receive(); }).detach();
}

void ControlLine::Receive() const {
  std::string line;
  char c = 0;
  while (recv(socket_, &c, 1, 0) == 1) {  // a few short lines in all
    if (c != '\n') {
      line += c;
      continue;
    }
    onLine_(std::exchange(line, {}));
  }
}

void ControlLine::Send(std::string line) const {
  line += '\n';
  (void)send(socket_, line.data(), static_cast<int>(line.size()), 0);  // the test may have gone
}

}  // namespace wendra
