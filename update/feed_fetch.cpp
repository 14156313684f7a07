#include "update/feed_fetch.h"

#include <cstdint>
#include <string_view>

namespace wendra {
namespace {

constexpr size_t kMaxFeedBytes = 1'048'576;  // 1 MiB
constexpr std::uint32_t kOk = 200;

HttpRequest FeedRequest(const std::string& address) {
  HttpRequest request;
  request.url = address;
  request.userAgent = "Wendra-Windows-Updater/1.0";
  request.timeouts = {
      .resolveMs = 8'000, .connectMs = 8'000, .sendMs = 10'000, .receiveMs = 15'000};
  request.redirects = HttpRedirects::kAnywhere;  // the request holds no secret
  return request;
}

std::string ReadBody(HttpExchange& exchange) {
  std::string body;
  for (;;) {
    const size_t bytes = exchange.WaitForChunk();
    if (bytes == 0 || body.size() + bytes > kMaxFeedBytes) return body;
    const std::string_view chunk = exchange.ReadChunk(bytes);
    if (chunk.empty()) return body;
    body += chunk;
  }
}

}  // namespace

Outcome<std::string> FetchFeed(const std::string& address, HttpExchange& exchange) {
  const Outcome<std::uint32_t> status = exchange.Send(FeedRequest(address));
  if (!status) return Failure{status.Error()};
  if (status.Value() != kOk) return Failure{"HTTP " + std::to_string(status.Value())};
  return ReadBody(exchange);
}

}  // namespace wendra
