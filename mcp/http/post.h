// Sends one message to a remote server and reads the response. Pure.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "mcp/flow_control.h"
#include "mcp/http/link.h"

namespace wendra {

struct HttpPost {
  std::shared_ptr<HttpLink> link;
  std::string text;            // compact JSON
  std::string requestId;       // "" if it is no request
  std::uint32_t limitMs = 0;   // for the whole exchange: then it is given up without a word
  bool reportsStatus = false;  // see OutgoingMessage
};

// The body of the thread of one message. In this order it delivers the status if that is awaited or
// ends the session, the messages of the response, and for a request without an answer an error
// response made here.
void HttpRequestWorker(HttpPost& post);

// Sends an error response of ours. `count` is released as soon as the server has taken or refused
// it. Messages in the server's response are delivered if there is room for them: waiting for room
// could mean waiting for this very refusal.
void PostRefusal(HttpLink& link, std::string text, FlowControl::Refusal count);

// The response of a server that has given none: {"jsonrpc", "id", "error": {"message"}}. No text:
// "MCP request failed".
std::string HttpErrorResponse(const std::string& requestId, std::string_view text);

}  // namespace wendra
