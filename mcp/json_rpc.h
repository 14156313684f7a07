// Builds the JSON-RPC 2.0 messages that the host writes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {

Json RpcRequest(std::string_view method, std::string id, Json params);
Json RpcNotification(std::string_view method, Json params);

// The error response to the request with this id. Without a `code` where the response never leaves
// the host.
Json RpcErrorResponse(Json id, std::optional<int> code, std::string_view message);

// {"error": {"message": text}}: the outcome of a request that gets no response from the server.
Json RpcFailure(std::string_view text);

}  // namespace wendra
