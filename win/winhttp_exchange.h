// Implements HttpExchange with WinHTTP. No other code of the program calls WinHTTP.
//
// Redirects: by itself, WinHTTP follows them to any host and sends all headers there. That is right
// for a download and wrong for a request that carries secrets: see HttpRedirects.
//
// Proxies are those of the machine (`netsh winhttp`). Each exchange has a WinHTTP session of its
// own, so there are no cookies of earlier exchanges, and no stored passwords. Responses are not
// decompressed.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/http_exchange.h"

namespace wendra {

// After a request has failed, this class asks WinHTTP for no more of its body: Wine would announce
// bytes that are not there. Abort closes no handle. The worker thread and the destructor close them
// (request, connection, session), so no handle is closed while a call is about to use it.
class WinHttpExchange : public HttpExchange {
 public:
  WinHttpExchange();
  ~WinHttpExchange() override;
  WinHttpExchange(const WinHttpExchange&) = delete;
  WinHttpExchange& operator=(const WinHttpExchange&) = delete;

  Outcome<std::uint32_t> Send(HttpRequest request) override;
  std::optional<std::string> ResponseHeader(std::string_view name) const override;
  std::size_t WaitForChunk() override;
  void AskForChunk() override;
  std::string_view ReadChunk(std::size_t bytes) override;
  void Abort() override;
  bool IsOverdue() const override;

 private:
  struct Operation;
  class Connection;

  std::shared_ptr<Operation> operation_;  // WinHTTP also holds it, until the request is closed
  std::unique_ptr<Connection> connection_;
  bool isAsked_ = false;  // AskForChunk has asked for a chunk that WaitForChunk has not waited for
};

}  // namespace wendra
