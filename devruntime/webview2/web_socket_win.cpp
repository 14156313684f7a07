#include "devruntime/webview2/web_socket_win.h"

#include <mutex>
#include <utility>

namespace wendra {
namespace {

constexpr wchar_t kHost[] = L"127.0.0.1";
constexpr size_t kReceiveBytes = size_t{1024} * 1024;
constexpr size_t kMaxTextBytes = size_t{64} * 1024;

// Never with a proxy: the browser is on this machine.
HttpHandle OpenSession() {
  return HttpHandle(WinHttpOpen(L"wendra-dev-runtime", WINHTTP_ACCESS_TYPE_NO_PROXY,
                                WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
}

HttpHandle OpenGet(HINTERNET connection, const wchar_t* path) {
  return HttpHandle(WinHttpOpenRequest(connection, L"GET", path, nullptr, WINHTTP_NO_REFERER,
                                       WINHTTP_DEFAULT_ACCEPT_TYPES, 0));
}

bool Exchange(HINTERNET request) {
  return WinHttpSendRequest(request, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0,
                            0, 0) &&
         WinHttpReceiveResponse(request, nullptr);
}

}  // namespace

bool WebSocket::Connect(INTERNET_PORT port, const std::wstring& path) {
  session_ = OpenSession();
  if (!session_) return false;
  connection_.Reset(WinHttpConnect(session_.Get(), kHost, port, 0));
  if (!connection_) return false;
  HttpHandle request = OpenGet(connection_.Get(), path.c_str());
  if (!request) return false;
  if (!WinHttpSetOption(request.Get(), WINHTTP_OPTION_UPGRADE_TO_WEB_SOCKET, nullptr, 0)) {
    return false;
  }
  if (!Exchange(request.Get())) return false;
  HttpHandle socket(WinHttpWebSocketCompleteUpgrade(request.Get(), 0));
  const std::lock_guard<Lock> lock(sendLock_);
  socket_ = std::move(socket);
  return static_cast<bool>(socket_);
}

bool WebSocket::Send(std::string_view text) {
  const std::lock_guard<Lock> lock(sendLock_);
  if (!socket_) return false;
  // The parameter is not const, but WinHTTP only reads the buffer.
  return WinHttpWebSocketSend(socket_.Get(), WINHTTP_WEB_SOCKET_UTF8_MESSAGE_BUFFER_TYPE,
                              const_cast<char*>(text.data()),
                              static_cast<DWORD>(text.size())) == NO_ERROR;
}

bool WebSocket::Receive(std::string& text) {
  text.clear();
  for (;;) {
    const size_t used = text.size();
    text.resize(used + kReceiveBytes);
    DWORD got = 0;
    WINHTTP_WEB_SOCKET_BUFFER_TYPE type{};
    const DWORD error = WinHttpWebSocketReceive(socket_.Get(), text.data() + used,
                                                static_cast<DWORD>(kReceiveBytes), &got, &type);
    text.resize(used + got);
    if (error != NO_ERROR || type == WINHTTP_WEB_SOCKET_CLOSE_BUFFER_TYPE) return false;
    if (type == WINHTTP_WEB_SOCKET_UTF8_MESSAGE_BUFFER_TYPE) return true;
  }
}

void WebSocket::Shutdown() {
  const std::lock_guard<Lock> lock(sendLock_);
  if (!socket_) return;
  (void)WinHttpWebSocketShutdown(socket_.Get(), WINHTTP_WEB_SOCKET_SUCCESS_CLOSE_STATUS, nullptr,
                                 0);
}

std::string GetLocalText(INTERNET_PORT port, const wchar_t* path) {
  const HttpHandle session = OpenSession();
  if (!session) return {};
  const HttpHandle connection(WinHttpConnect(session.Get(), kHost, port, 0));
  if (!connection) return {};
  const HttpHandle request = OpenGet(connection.Get(), path);
  if (!request || !Exchange(request.Get())) return {};
  std::string text(kMaxTextBytes, '\0');
  size_t used = 0;
  DWORD got = 0;
  while (used < text.size() &&
         WinHttpReadData(request.Get(), text.data() + used, static_cast<DWORD>(text.size() - used),
                         &got) &&
         got != 0) {
    used += got;
  }
  text.resize(used);
  return text;
}

}  // namespace wendra
