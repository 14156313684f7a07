// Sends one message to a remote server and takes what comes back.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/outcome.h"
#include "mcp/http_link_win.h"

namespace wendra {

struct HttpPost {
  std::shared_ptr<HttpLink> link;
  std::string text;       // compact JSON
  std::string requestId;  // "" if it is no request
  std::function<void()> onSent;
};

// The body of the thread of one message. In this order it delivers that the message has its status,
// the messages of the response, and for a request without an answer an error response made here.
void HttpRequestWorker(std::unique_ptr<HttpPost> post);

// Whether the answer to the request was among the messages that were delivered; or why there are
// none: an error text of HttpExchange, or "HTTP " with the status.
Outcome<bool> HttpPostMessage(HttpPost& post);

// The response of a server that has given none: {"jsonrpc", "id", "error": {"message"}}. No text:
// "MCP request failed".
std::string HttpErrorResponse(const std::string& requestId, std::string_view text);

}  // namespace wendra
