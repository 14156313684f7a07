// One client WebSocket over WinHTTP, text frames only.
//
// One thread receives; any thread sends. Every message is one frame on the way out and is joined
// from as many as it takes on the way in; sizes of 60 MiB have been seen to pass.
#pragma once

#include <mutex>
#include <string>
#include <string_view>

#include <windows.h>
#include <winhttp.h>

#include "win/unique.h"

namespace wendra {

struct InternetTraits {
  using Raw = HINTERNET;
  static Raw Empty() { return nullptr; }
  static void Close(Raw handle) { WinHttpCloseHandle(handle); }
};
using InternetHandle = Unique<InternetTraits>;

class WebSocket {
 public:
  // Connects to ws://127.0.0.1:port/path. Blocks. Once, before anything else.
  bool Connect(INTERNET_PORT port, const std::wstring& path);

  // False when the connection is gone. Blocks while the peer does not read.
  bool Send(std::string_view text);

  // The next whole message into `text`. False when the connection is gone.
  bool Receive(std::string& text);

  // Asks the peer to close, which ends Receive. Any thread; does nothing when not connected.
  void Shutdown();

 private:
  InternetHandle session_;
  InternetHandle connection_;
  std::mutex sendMutex_;
  InternetHandle socket_;
};

// The body of GET http://127.0.0.1:port/path, at most 64 KiB; "" on any failure. Blocks.
std::string GetLocalText(INTERNET_PORT port, const wchar_t* path);

}  // namespace wendra
