// An HTTP server inside the test program. It sends exactly the bytes that a test gives it.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "win/unique.h"

namespace wendra {

struct HttpTestRequest {
  std::string verb;
  std::string path;
  std::vector<std::pair<std::string, std::string>> headers;  // in order of arrival
  std::string body;

  // The value of the first header with that name, in any letter case; "" if there is none.
  std::string Header(std::string_view name) const;
};

// The connection of one request. It is closed when the handler returns.
class HttpTestConnection {
 public:
  explicit HttpTestConnection(UINT_PTR socket) : socket_(socket) {}

  // Sends all bytes. False: the client has disconnected.
  bool Send(std::string_view bytes);

  // Sends a whole response: status line, `headers` (each with CR LF), Content-Length and `body`.
  bool Answer(std::string_view statusLine, std::string_view headers, std::string_view body);

  // Waits until the client disconnects or the server is destroyed.
  void WaitForClose();

 private:
  const UINT_PTR socket_;
};

class HttpTestServer {
 public:
  // Called once for each request, each time on a new thread; several may run at the same time.
  using Handler = std::function<void(const HttpTestRequest&, HttpTestConnection&)>;

  explicit HttpTestServer(Handler handler);
  // Ends all connections and waits for the handlers.
  ~HttpTestServer();
  HttpTestServer(const HttpTestServer&) = delete;
  HttpTestServer& operator=(const HttpTestServer&) = delete;

  std::string Url(std::string_view path = "/mcp", std::string_view host = "localhost") const;

  // All requests so far, in order of arrival.
  std::vector<HttpTestRequest> Requests() const;

 private:
  void Accept();
  void Serve(UINT_PTR socket);

  const Handler handler_;
  UINT_PTR listener_;
  int port_ = 0;
  mutable std::mutex mutex_;
  bool isEnding_ = false;
  std::vector<UINT_PTR> open_;
  std::vector<HttpTestRequest> requests_;
  std::vector<std::thread> threads_;
  std::thread accepting_;
};

}  // namespace wendra
