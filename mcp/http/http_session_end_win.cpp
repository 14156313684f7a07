#include "mcp/http/http_session_end_win.h"

#include <memory>
#include <utility>

#include "win/thread.h"

namespace wendra {
namespace {

constexpr HttpTimeouts kEndTimeouts{5000, 5000, 5000, 5000};

void SendDelete(std::unique_ptr<HttpRequest> request) {
  HttpExchange exchange;
  (void)exchange.Send(std::move(*request));
}

}  // namespace

KernelHandle EndHttpSession(const HttpLink& link) {
  const HttpLink::Session session = link.CurrentSession();
  if (session.id.empty()) return {};
  auto request = std::make_unique<HttpRequest>(
      link.Request(L"DELETE", {{"Mcp-Session-Id", session.id}}, kEndTimeouts));
  return StartThread<SendDelete>(request);
}

}  // namespace wendra
