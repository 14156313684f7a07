#include "mcp/http_post_win.h"

#include <algorithm>
#include <utility>

#include "json/json.h"
#include "mcp/response_body.h"

namespace wendra {
namespace {

constexpr HttpTimeouts kPostTimeouts{8000, 8000, 30'000, 120'000};
// As much as WinHTTP keeps of a body: more of it is as good as certain to come.
constexpr size_t kFullPieceBytes = 8192;
constexpr DWORD kAccepted = 202;
constexpr DWORD kNotFound = 404;

HttpRequest PostRequest(HttpPost& post, const HttpLink::Session& session) {
  NamedValues headers = {{"Content-Type", "application/json"},
                         {"Accept", "application/json, text/event-stream"}};
  if (!session.protocolVersion.empty()) {
    headers.emplace_back("MCP-Protocol-Version", session.protocolVersion);
  }
  if (!session.id.empty()) headers.emplace_back("Mcp-Session-Id", session.id);
  HttpRequest request = post.link->Request(L"POST", std::move(headers), kPostTimeouts);
  request.body = std::move(post.text);
  return request;
}

// What the response's status says, before its body is read: what comes from the body must find it
// applied.
void TakeStatus(HttpPost& post, const HttpLink::Session& session, DWORD status,
                const std::optional<std::string>& sessionId) {
  HttpPosted posted{.onSent = std::move(post.onSent)};
  if (status == kNotFound) {
    posted.sessionIsOver = !session.id.empty() && post.link->ForgetSession(session);
  } else if (sessionId) {
    post.link->StoreSessionId(session, *sessionId);
  }
  if (posted.sessionIsOver || posted.onSent) post.link->DeliverPosted(std::move(posted));
}

bool DeliverBody(HttpPost& post, LinkedExchange& exchange) {
  ResponseBody body(exchange->ResponseHeader(L"Content-Type").value_or(""), post.requestId);
  while (!body.IsAnswered() && body.Room() > 0) {
    const size_t bytes = std::min(exchange->WaitForPiece(), body.Room());
    const std::string_view piece = bytes ? exchange->ReadPiece(bytes) : std::string_view();
    if (piece.empty()) break;
    if (bytes >= kFullPieceBytes && bytes < body.Room()) exchange->AskForPiece();
    for (std::string& message : body.Feed(piece)) post.link->Deliver(std::move(message));
  }
  for (std::string& message : body.Finish()) post.link->Deliver(std::move(message));
  return body.IsAnswered();
}

}  // namespace

Outcome<bool> HttpPostMessage(HttpPost& post) {
  const HttpLink::Session session = post.link->CurrentSession();
  LinkedExchange exchange(*post.link);
  const auto sent = exchange->Send(PostRequest(post, session));
  const DWORD status = sent ? sent.Value() : 0;
  TakeStatus(post, session, status,
             sent ? exchange->ResponseHeader(L"Mcp-Session-Id") : std::nullopt);
  if (!sent) return Failure{sent.Error()};
  if (status == kAccepted) return false;
  if (status < 200 || status > 299) return Failure{"HTTP " + std::to_string(status)};
  return DeliverBody(post, exchange);
}

void HttpRequestWorker(std::unique_ptr<HttpPost> post) {
  const Outcome<bool> isAnswered = HttpPostMessage(*post);
  if (post->requestId.empty() || (isAnswered && isAnswered.Value())) return;
  const std::string text = isAnswered ? "MCP server returned no response" : isAnswered.Error();
  post->link->Deliver(HttpErrorResponse(post->requestId, text));
}

std::string HttpErrorResponse(const std::string& requestId, std::string_view text) {
  Json error = Json::Object();
  error.members.emplace_back("message", text.empty() ? "MCP request failed" : text);
  Json response = Json::Object();
  response.members.emplace_back("jsonrpc", "2.0");
  response.members.emplace_back("id", requestId);
  response.members.emplace_back("error", std::move(error));
  std::string result;
  Serialize(response, result);
  return result;
}

}  // namespace wendra
