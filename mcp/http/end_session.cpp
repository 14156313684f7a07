#include "mcp/http/end_session.h"

#include <utility>

#include "base/thread.h"

namespace wendra {
namespace {

constexpr HttpTimeouts kEndTimeouts{5000, 5000, 5000, 5000};

}  // namespace

std::shared_ptr<SessionEnd> EndHttpSession(const HttpLink& link) {
  const HttpLink::Session session = link.CurrentSession();
  if (session.id.empty()) return nullptr;
  const auto end = std::make_shared<SessionEnd>();
  const auto send =
      [end, exchange = std::shared_ptr(link.MakeExchange()),
       request = link.Request("DELETE", {{"Mcp-Session-Id", session.id}}, kEndTimeouts)]() mutable {
        (void)exchange->Send(std::move(request));
        exchange.reset();
        end->SetSent();
      };
  return StartDetachedThread(send) ? end : nullptr;
}

}  // namespace wendra
