// One client WebSocket over WinHTTP, text frames only, and a plain GET.
#pragma once

#include <string>
#include <string_view>

#include "base/lock.h"
#include "win/winhttp_handle.h"

namespace wendra {

// One thread receives; any thread sends. A message that is sent is one frame. A message that comes
// may be several frames, which are joined. Messages of 60 MiB have been seen to pass.
class WebSocket {
 public:
  // Connects to ws://127.0.0.1:port/path. Blocks. Once, before any other call.
  bool Connect(INTERNET_PORT port, const std::wstring& path);

  // False: the connection is gone. Blocks while the peer does not read.
  bool Send(std::string_view text);

  // Puts the next whole message into `text`. False: the connection is gone.
  bool Receive(std::string& text);

  // Closes our side; the peer then closes its own, and Receive gives false. Does nothing without a
  // connection. Any thread.
  void Shutdown();

 private:
  HttpHandle session_;
  HttpHandle connection_;
  Lock sendLock_;
  HttpHandle socket_;
};

// The body of GET http://127.0.0.1:port/path, at most 64 KiB; "" after any failure. Blocks.
std::string GetLocalText(INTERNET_PORT port, const wchar_t* path);

}  // namespace wendra
