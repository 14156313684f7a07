// clang-format off
#include <winsock2.h>  // before windows.h, which otherwise includes the old socket functions
// clang-format on

#include "tests/support/http_test_server_win.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "base/ascii.h"

namespace wendra {
namespace {

constexpr std::string_view kEndOfHead = "\r\n\r\n";

// Waits for bytes of the client and appends them to `text`. False: the client has disconnected.
bool ReceiveMore(UINT_PTR socket, std::string& text) {
  char buffer[16'384];
  const int bytes = recv(socket, buffer, sizeof(buffer), 0);
  if (bytes <= 0) return false;
  text.append(buffer, static_cast<size_t>(bytes));
  return true;
}

HttpTestRequest ParseHead(std::string_view head) {
  const auto takeLine = [&] {
    const size_t end = std::min(head.find("\r\n"), head.size());
    const std::string_view line = head.substr(0, end);
    head.remove_prefix(std::min(end + 2, head.size()));
    return line;
  };
  HttpTestRequest request;
  const std::string_view start = takeLine();
  const size_t verbEnd = start.find(' ');
  request.verb = start.substr(0, verbEnd);
  request.path = start.substr(verbEnd + 1, start.rfind(' ') - verbEnd - 1);
  while (!head.empty()) {
    const std::string_view line = takeLine();
    const size_t colon = line.find(':');
    request.headers.emplace_back(line.substr(0, colon), TrimWhitespace(line.substr(colon + 1)));
  }
  return request;
}

size_t BodyBytes(const HttpTestRequest& request) {
  const std::string length = request.Header("Content-Length");
  size_t bytes = 0;
  (void)std::from_chars(length.data(), length.data() + length.size(), bytes);  // "" leaves 0
  return bytes;
}

}  // namespace

std::string HttpTestRequest::Header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (LowerAscii(key) == LowerAscii(name)) return value;
  }
  return {};
}

bool HttpTestConnection::Send(std::string_view bytes) {
  while (!bytes.empty()) {
    const int sent = send(socket_, bytes.data(), static_cast<int>(bytes.size()), 0);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(sent));
  }
  return true;
}

bool HttpTestConnection::Answer(std::string_view statusLine, std::string_view headers,
                                std::string_view body) {
  std::string text = "HTTP/1.1 " + std::string(statusLine) + "\r\nConnection: close\r\n";
  text.append(headers).append("Content-Length: ").append(std::to_string(body.size()));
  text.append(kEndOfHead).append(body);
  return Send(text);
}

void HttpTestConnection::WaitForClose() {
  std::string ignored;
  while (ReceiveMore(socket_, ignored)) ignored.clear();
}

HttpTestServer::HttpTestServer(Handler handler) : handler_(std::move(handler)) {
  WSADATA data;
  if (WSAStartup(MAKEWORD(2, 2), &data) != 0) throw std::runtime_error("no sockets");
  listener_ = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int bytes = sizeof(address);
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  if (bind(listener_, raw, bytes) != 0 || listen(listener_, SOMAXCONN) != 0 ||
      getsockname(listener_, raw, &bytes) != 0) {
    throw std::runtime_error("no server");
  }
  port_ = ntohs(address.sin_port);
  accepting_ = std::thread([this] { Accept(); });
}

HttpTestServer::~HttpTestServer() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isEnding_ = true;
    for (const UINT_PTR socket : open_) shutdown(socket, SD_BOTH);
  }
  // This connection wakes the thread that waits in accept.
  const UINT_PTR wake = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<u_short>(port_));
  (void)connect(wake, reinterpret_cast<sockaddr*>(&address), sizeof(address));
  accepting_.join();
  for (std::thread& thread : threads_) thread.join();
  closesocket(wake);
  closesocket(listener_);
  WSACleanup();
}

std::string HttpTestServer::Url(std::string_view path, std::string_view host) const {
  return "http://" + std::string(host) + ":" + std::to_string(port_) + std::string(path);
}

std::vector<HttpTestRequest> HttpTestServer::Requests() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

void HttpTestServer::Accept() {
  while (true) {
    const UINT_PTR socket = accept(listener_, nullptr, nullptr);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isEnding_) {
      closesocket(socket);
      return;
    }
    open_.push_back(socket);
    threads_.emplace_back([this, socket] { Serve(socket); });
  }
}

void HttpTestServer::Serve(UINT_PTR socket) {
  std::string text;
  bool isWhole = true;
  size_t headEnd = 0;
  while (isWhole && (headEnd = text.find(kEndOfHead)) == text.npos) {
    isWhole = ReceiveMore(socket, text);
  }
  if (isWhole) {
    HttpTestRequest request = ParseHead(std::string_view(text).substr(0, headEnd));
    const size_t wantedBytes = headEnd + kEndOfHead.size() + BodyBytes(request);
    while (isWhole && text.size() < wantedBytes) isWhole = ReceiveMore(socket, text);
    request.body = text.substr(headEnd + kEndOfHead.size());
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      requests_.push_back(request);
    }
    HttpTestConnection connection(socket);
    handler_(request, connection);
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  open_.erase(std::find(open_.begin(), open_.end(), socket));
  // Without this, bytes of the client that have not been read would reset the connection, and the
  // client could lose the response.
  shutdown(socket, SD_SEND);
  closesocket(socket);
}

}  // namespace wendra
