// The page actions that list the servers with their tools and that call a tool: mcpServers and
// mcpCall.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "bridge/action.h"
#include "bridge/replies.h"
#include "mcp/connection.h"

namespace wendra {

// The servers of config.json, in its order, as they are at the time of the call.
using ServerList = std::function<std::vector<std::shared_ptr<Connection>>()>;

// Replies when each server has responded or failed. The entries are in that order, not in the order
// of config.json. UI thread; borrows `replies`.
Action McpServersAction(Replies& replies, ServerList servers);

// Finds the server by its name in config.json, or else by the form of the name that mcpServers
// shows. Deliberate: a failed call gets a successful reply whose value has a member `error`. UI
// thread; borrows `replies`.
Action McpCallAction(Replies& replies, ServerList servers);

}  // namespace wendra
