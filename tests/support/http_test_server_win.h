// An HTTP server in the test's own process that says, byte for byte, what a test tells it to.
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
  std::vector<std::pair<std::string, std::string>> headers;  // as they came, in order
  std::string body;

  // The value of the header of that name in any case; "" without one.
  std::string Header(std::string_view name) const;
};

// One request on a connection of its own, which ends when the handler returns.
class HttpTestConnection {
 public:
  explicit HttpTestConnection(UINT_PTR socket) : socket_(socket) {}

  // Sends all of it. False: the client has gone.
  bool Send(std::string_view bytes);

  // The head and a body with its length.
  bool Answer(std::string_view statusLine, std::string_view headers, std::string_view body);

  // Until the client has gone, or the server is to end.
  void WaitForClose();

 private:
  const UINT_PTR socket_;
};

class HttpTestServer {
 public:
  // Called on a thread of the connection's own; several at once.
  using Handler = std::function<void(const HttpTestRequest&, HttpTestConnection&)>;

  explicit HttpTestServer(Handler handler);
  // Breaks what is still connected off and waits for the handlers.
  ~HttpTestServer();
  HttpTestServer(const HttpTestServer&) = delete;
  HttpTestServer& operator=(const HttpTestServer&) = delete;

  std::string Url(std::string_view path = "/mcp", std::string_view host = "localhost") const;

  // What has come so far, in the order of coming.
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
