// The messages of JSON-RPC 2.0 that the host writes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "json/json.h"

namespace wendra {

Json RpcRequest(std::string_view method, std::string id, Json params);
Json RpcNotification(std::string_view method, Json params);

// A response to a request with this id, which says what has failed. `code` is left out where the
// response never leaves the host.
Json RpcErrorResponse(Json id, std::optional<int> code, std::string_view message);

// {"error": {"message": text}}: how a request ends that the server did not answer.
Json RpcFailure(std::string_view text);

}  // namespace wendra
