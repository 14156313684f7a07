#include "mcp/tools/tool_actions.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "json/objects.h"
#include "mcp/tools/tool_list.h"
#include "mcp/tools/tool_result.h"

namespace wendra {
namespace {

constexpr double kListTimeoutSeconds = 30;
constexpr double kCallTimeoutSeconds = 120;
constexpr char kGeneralFailure[] = "MCP server failed";

// The message of an error reply; kGeneralFailure if it has none.
std::string_view ErrorText(const Json& reply) {
  const std::string* message = FindString(MemberOf(reply, "error"), "message");
  return message ? std::string_view(*message) : kGeneralFailure;
}

// One request of the page for the list. The callbacks of all servers share it.
struct Listing {
  std::string reqId;
  std::size_t outstanding;
  Json entries = Json::Array();
};

Json EntryOf(const ServerSettings& server) {
  Json entry = MakeObject({{"name", SafeServerName(server.name)}, {"command", server.command}});
  if (!server.url.empty()) entry.members.emplace_back("url", server.url);
  return entry;
}

void AddTools(Json reply, Json& entry) {
  if (reply.Find("error")) {
    entry.members.emplace_back("error", ErrorText(reply));
  } else {
    entry.members.emplace_back("tools", ToolList(std::move(reply)));
  }
}

std::shared_ptr<Connection> FindServer(const std::vector<std::shared_ptr<Connection>>& servers,
                                       std::string_view name) {
  const auto nameOf = [](const auto& server) -> const std::string& {
    return server->Settings().name;
  };
  const auto named = std::ranges::find(servers, name, nameOf);
  if (named != servers.end()) return *named;
  const auto shown = std::ranges::find_if(
      servers, [&](const auto& server) { return SafeServerName(nameOf(server)) == name; });
  return shown == servers.end() ? nullptr : *shown;
}

// The object at args[2], unchanged; an empty object if there is none.
Json ToolArguments(const Json& args) {
  const bool hasObject =
      args.kind == kJsonArray && args.items.size() > 2 && args.items[2].kind == kJsonObject;
  return hasObject ? args.items[2] : Json::Object();
}

void ListServers(Replies& replies, const std::vector<std::shared_ptr<Connection>>& servers,
                 std::string reqId) {
  if (servers.empty()) return replies.Succeed(reqId, Json::Array());
  const auto listing = std::make_shared<Listing>(Listing{std::move(reqId), servers.size()});
  for (const auto& server : servers) {
    const auto onReply = [&replies, listing,
                          entry = EntryOf(server->Settings())](Json reply) mutable {
      AddTools(std::move(reply), entry);
      listing->entries.items.push_back(std::move(entry));
      if (--listing->outstanding == 0) replies.Succeed(listing->reqId, listing->entries);
    };
    server->RequestWhenReady("tools/list", Json::Object(), kListTimeoutSeconds, onReply, onReply);
  }
}

void CallTool(Replies& replies, const std::shared_ptr<Connection>& server, const std::string& reqId,
              const Json& args) {
  Json params = MakeObject({{"name", StringArgument(args, 1)}, {"arguments", ToolArguments(args)}});
  const auto onReply = [&replies, reqId](Json reply) {
    replies.Succeed(reqId, ToolResult(std::move(reply)));
  };
  const auto onNotReady = [&replies, reqId](const Json& failure) {
    replies.Succeed(reqId, ToolFailure(ErrorText(failure)));
  };
  server->RequestWhenReady("tools/call", std::move(params), kCallTimeoutSeconds, onReply,
                           onNotReady);
}

}  // namespace

Action McpServersAction(Replies& replies, ServerList servers) {
  return {"mcpServers", [&replies, servers = std::move(servers)](std::string reqId, const Json&) {
            ListServers(replies, servers(), std::move(reqId));
          }};
}

Action McpCallAction(Replies& replies, ServerList servers) {
  return {"mcpCall",
          [&replies, servers = std::move(servers)](const std::string& reqId, const Json& args) {
            const std::string name(StringArgument(args, 0));
            if (const auto server = FindServer(servers(), name)) {
              return CallTool(replies, server, reqId, args);
            }
            replies.Succeed(reqId, ToolFailure("unknown MCP server '" + name + "'"));
          }};
}

}  // namespace wendra
