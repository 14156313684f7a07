#include "mcp/json_rpc.h"

#include <utility>

#include "json/objects.h"

namespace wendra {

Json RpcRequest(std::string_view method, std::string id, Json params) {
  return MakeObject({{"jsonrpc", "2.0"},
                     {"method", method},
                     {"id", std::move(id)},
                     {"params", std::move(params)}});
}

Json RpcNotification(std::string_view method, Json params) {
  return MakeObject({{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}});
}

Json RpcErrorResponse(Json id, std::optional<int> code, std::string_view message) {
  Json error = Json::Object();
  if (code) error.members.emplace_back("code", *code);
  error.members.emplace_back("message", message);
  return MakeObject({{"jsonrpc", "2.0"}, {"id", std::move(id)}, {"error", std::move(error)}});
}

Json RpcFailure(std::string_view text) {
  return MakeObject({{"error", MakeObject({{"message", text}})}});
}

}  // namespace wendra
