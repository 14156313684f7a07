#include "mcp/http/post.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "json/objects.h"
#include "mcp/http/response_body.h"
#include "mcp/json_rpc.h"

namespace wendra {
namespace {

constexpr HttpTimeouts kPostTimeouts{8000, 8000, 30'000, 120'000};
// WinHTTP buffers this much of a body. After a chunk of this size more is almost certain to come.
constexpr std::size_t kFullChunkBytes = 8192;
constexpr std::uint32_t kRefusalLimitMs = 45'000;  // as long as a handshake may take
constexpr std::uint32_t kAccepted = 202;
constexpr std::uint32_t kNotFound = 404;

HttpRequest PostRequest(const HttpLink& link, const HttpLink::Session& session, std::string text,
                        std::uint32_t limitMs) {
  NamedValues headers = {{"Content-Type", "application/json"},
                         {"Accept", "application/json, text/event-stream"}};
  if (!session.protocolVersion.empty()) {
    headers.emplace_back("MCP-Protocol-Version", session.protocolVersion);
  }
  if (!session.id.empty()) headers.emplace_back("Mcp-Session-Id", session.id);
  HttpRequest request = link.Request("POST", std::move(headers), kPostTimeouts);
  request.body = std::move(text);
  request.limitMs = limitMs;
  return request;
}

// Applies what the status and the headers say about the session. True: they end `session`.
bool TakeSession(HttpLink& link, const HttpLink::Session& session, std::uint32_t status,
                 HttpExchange& exchange) {
  if (status == kNotFound && !session.id.empty()) return link.ForgetSession(session);
  link.StoreSessionId(exchange.ResponseHeader("Mcp-Session-Id").value_or(""));
  return false;
}

bool IsSuccess(std::uint32_t status) { return status >= 200 && status <= 299; }

// Reads the body and gives each message to `deliver` as soon as it is whole. True: one of them
// looks like the answer to the request.
template <typename Deliver>
bool ReadMessages(HttpExchange& exchange, std::string_view requestId, Deliver deliver) {
  ResponseBody body(exchange.ResponseHeader("Content-Type").value_or(""), requestId);
  while (!body.IsAnswered() && body.Room() > 0) {
    const std::size_t bytes = std::min(exchange.WaitForChunk(), body.Room());
    const std::string_view chunk = bytes ? exchange.ReadChunk(bytes) : std::string_view();
    if (chunk.empty()) break;
    if (bytes >= kFullChunkBytes && bytes < body.Room()) exchange.AskForChunk();
    for (std::string& message : body.Feed(chunk)) deliver(std::move(message));
  }
  for (std::string& message : body.Finish()) deliver(std::move(message));
  return body.IsAnswered();
}

// Returns why the request has no answer. Nothing if it has one, or if its limit has ended the
// exchange: then the timer of the connection ends the request.
std::optional<std::string> Exchange(HttpPost& post) {
  HttpLink& link = *post.link;
  const HttpLink::Session session = link.CurrentSession();
  LinkedExchange exchange(link);
  const auto sent = exchange->Send(PostRequest(link, session, std::move(post.text), post.limitMs));
  PostStatus posted{.isAwaited = post.reportsStatus};
  if (sent) {
    // Before the body is read: when its messages are handled, the session must be up to date.
    posted.status = sent.Value();
    posted.sessionIsOver = TakeSession(link, session, posted.status, *exchange);
  }
  const std::uint32_t status = posted.status;
  if (posted.sessionIsOver || posted.isAwaited) link.DeliverStatus(posted);
  if (sent && !IsSuccess(status)) return "HTTP " + std::to_string(status);
  const auto deliver = [&](std::string message) { link.Deliver(std::move(message)); };
  const bool isAnswered =
      sent && status != kAccepted && ReadMessages(*exchange, post.requestId, deliver);
  if (isAnswered || exchange->IsOverdue()) return std::nullopt;
  return sent ? "MCP server returned no response" : sent.Error();
}

}  // namespace

void HttpRequestWorker(HttpPost& post) {
  const auto reason = Exchange(post);
  if (post.requestId.empty() || !reason) return;
  post.link->Deliver(HttpErrorResponse(post.requestId, *reason));
}

void PostRefusal(HttpLink& link, std::string text, FlowControl::Refusal count) {
  const HttpLink::Session session = link.CurrentSession();
  LinkedExchange exchange(link);
  const auto sent = exchange->Send(PostRequest(link, session, std::move(text), kRefusalLimitMs));
  if (!sent) return;
  const std::uint32_t status = sent.Value();
  if (TakeSession(link, session, status, *exchange)) {
    link.DeliverStatus({.status = status, .sessionIsOver = true});
  }
  count.reset();
  if (!IsSuccess(status) || status == kAccepted) return;
  (void)ReadMessages(*exchange, "",
                     [&](std::string message) { link.DeliverIfRoom(std::move(message)); });
}

std::string HttpErrorResponse(const std::string& requestId, std::string_view text) {
  return ToText(
      RpcErrorResponse(requestId, std::nullopt, text.empty() ? "MCP request failed" : text));
}

}  // namespace wendra
