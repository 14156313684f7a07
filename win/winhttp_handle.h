// Owns one WinHTTP handle: a session, a connection, a request or a web socket.
#pragma once

#include "win/unique.h"

#include <winhttp.h>

namespace wendra {

struct HttpTraits {
  using Raw = HINTERNET;
  static Raw Empty() { return nullptr; }
  static void Close(Raw handle) { WinHttpCloseHandle(handle); }
};
using HttpHandle = Unique<HttpTraits>;

}  // namespace wendra
