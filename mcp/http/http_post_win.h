// Sends one message to a remote server and takes what comes back.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "mcp/http/http_link_win.h"

namespace wendra {

struct HttpPost {
  std::shared_ptr<HttpLink> link;
  std::string text;         // compact JSON
  std::string requestId;    // "" if it is no request
  std::uint32_t limitMs{};  // for the whole exchange: then it is given up without a word
  std::function<void(std::uint32_t status)> onSent;
};

// The body of the thread of one message. In this order it delivers that the message has its status,
// the messages of the response, and for a request without an answer an error response made here.
void HttpRequestWorker(std::unique_ptr<HttpPost> post);

// Sends an error response of ours. `count` counts for it until the server has taken or refused it.
// Messages in the server's response are delivered if there is room for them: waiting for room could
// mean waiting for itself.
void PostRefusal(const std::shared_ptr<HttpLink>& link, std::string text, Backlog::Refusal count);

// The response of a server that has given none: {"jsonrpc", "id", "error": {"message"}}. No text:
// "MCP request failed".
std::string HttpErrorResponse(const std::string& requestId, std::string_view text);

}  // namespace wendra
