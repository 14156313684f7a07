// HttpExchange on WinHTTP: the only code of the program that calls WinHTTP.
//
// Redirects. WinHTTP by itself follows them to any host and takes all headers along. That is right
// for a download and wrong for a request that carries secrets: see HttpRedirects.
//
// Proxies are those of the machine (`netsh winhttp`); no cookies, no stored passwords, no
// compression.
#pragma once

#include <memory>

#include "base/http_exchange.h"

namespace wendra {

// WinHTTP must not be asked anything about a request that has failed. The worker alone closes the
// handles (request, connection, session), so that none is closed while a call is about to use it.
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

  std::shared_ptr<Operation> operation_;  // also held by WinHTTP, until it releases the request
  std::unique_ptr<Connection> connection_;
  bool isAsked_ = false;  // for a chunk that no WaitForChunk has waited for yet
};

}  // namespace wendra
