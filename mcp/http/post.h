// Sends one message to a remote server and reads the HTTP response. Pure.
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
  std::string requestId;       // "" if the message is no request
  std::uint32_t limitMs = 0;   // for the whole exchange, which then ends without an error response
  bool reportsStatus = false;  // see OutgoingMessage
};

// The body of the thread of one message. It delivers, in this order: the status, if that is awaited
// or ends the session; the messages of the HTTP response; for a request without an answer, an error
// response made by this function.
void HttpRequestWorker(HttpPost& post);

// Sends an error response to a request of the server, on the thread of the refusals. `count` is
// released as soon as the status is known or sending has failed. A message in the HTTP response is
// dropped if there is no room for it: other refusals that wait for this thread may take the room,
// so this thread must not wait for it.
void PostRefusal(HttpLink& link, std::string text, FlowControl::Refusal count);

// The error response that stands in for an answer of the server: {"jsonrpc", "id", "error":
// {"message"}}. If `text` is "", the message is "MCP request failed".
std::string HttpErrorResponse(const std::string& requestId, std::string_view text);

}  // namespace wendra
