#include "mcp/tools/tool_actions.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "mcp/tools/tool_list.h"
#include "mcp/tools/tool_result.h"

namespace wendra {
namespace {

constexpr double kListTimeoutSeconds = 30;
constexpr double kCallTimeoutSeconds = 120;
constexpr char kGeneralFailure[] = "MCP server failed";

// The message of an error reply, where it has one.
std::string_view ErrorText(const Json& reply) {
  const Json* error = reply.Find("error");
  const Json* message = error ? error->Find("message") : nullptr;
  return message && message->kind == kJsonString ? std::string_view(message->text)
                                                 : kGeneralFailure;
}

// One request for the list, shared by the answers of its servers.
struct Listing {
  std::string reqId;
  size_t outstanding;
  Json entries = Json::Array();
};

Json EntryOf(const McpServer& server, Json reply) {
  Json entry = Json::Object();
  entry.members.emplace_back("name", SafeServerName(server.name));
  entry.members.emplace_back("command", server.command);
  if (!server.url.empty()) entry.members.emplace_back("url", server.url);
  if (reply.Find("error")) {
    entry.members.emplace_back("error", ErrorText(reply));
  } else {
    entry.members.emplace_back("tools", ToolList(std::move(reply)));
  }
  return entry;
}

void ListTools(McpServer& server, McpSession& session, McpSession::OnReply onReply) {
  session.EnsureMcpInitialized(
      server, [&server, &session, onReply = std::move(onReply)](const Json* failure) {
        if (failure) return onReply(*failure);
        session.SendMcpRequest(server, "tools/list", Json::Object(), kListTimeoutSeconds, onReply);
      });
}

McpServer* FindServer(std::span<McpServer* const> servers, std::string_view name) {
  const auto named = std::ranges::find(servers, name, &McpServer::name);
  if (named != servers.end()) return *named;
  const auto shown = std::ranges::find_if(
      servers, [&](const McpServer* server) { return SafeServerName(server->name) == name; });
  return shown == servers.end() ? nullptr : *shown;
}

// The object at args[2], taken as it is; an empty one where there is none.
Json ToolArguments(const Json& args) {
  const bool hasObject =
      args.kind == kJsonArray && args.items.size() > 2 && args.items[2].kind == kJsonObject;
  return hasObject ? args.items[2] : Json::Object();
}

}  // namespace

Action McpServersAction(Replies& replies, ServerList servers, McpSession& session) {
  return {
      "mcpServers",
      [&replies, servers = std::move(servers), &session](std::string reqId, const Json&) {
        const std::span<McpServer* const> current = servers();
        if (current.empty()) return replies.Succeed(reqId, Json::Array());
        const auto listing = std::make_shared<Listing>(Listing{std::move(reqId), current.size()});
        // A copy: what an answer leads to may change the list.
        for (McpServer* server : std::vector<McpServer*>(current.begin(), current.end())) {
          ListTools(*server, session, [&replies, listing, server](Json reply) {
            listing->entries.items.push_back(EntryOf(*server, std::move(reply)));
            if (--listing->outstanding == 0) replies.Succeed(listing->reqId, listing->entries);
          });
        }
      }};
}

Action McpCallAction(Replies& replies, ServerList servers, McpSession& session) {
  return {"mcpCall", [&replies, servers = std::move(servers), &session](const std::string& reqId,
                                                                        const Json& args) {
            const std::string_view name = StringArgument(args, 0);
            McpServer* server = FindServer(servers(), name);
            if (!server) {
              const std::string text = "unknown MCP server '" + std::string(name) + "'";
              return replies.Succeed(reqId, ToolFailure(text));
            }
            Json params = Json::Object();
            params.members.emplace_back("name", StringArgument(args, 1));
            params.members.emplace_back("arguments", ToolArguments(args));
            session.EnsureMcpInitialized(
                *server, [&replies, reqId, server, &session,
                          params = std::move(params)](const Json* failure) mutable {
                  if (failure) return replies.Succeed(reqId, ToolFailure(ErrorText(*failure)));
                  session.SendMcpRequest(*server, "tools/call", std::move(params),
                                         kCallTimeoutSeconds, [&replies, reqId](Json reply) {
                                           replies.Succeed(reqId, ToolResult(std::move(reply)));
                                         });
                });
          }};
}

}  // namespace wendra
