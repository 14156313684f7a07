// The page actions that list the servers with their tools, and call a tool: mcpServers and mcpCall.
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

// Answers when each server has answered or failed: entries stand in the order of their completion.
// UI thread; `replies` is borrowed.
Action McpServersAction(Replies& replies, ServerList servers);

// Finds the server by its name in config.json, or else by the form of it that mcpServers shows.
// Failures are answered with ok and a member `error`, deliberately.
Action McpCallAction(Replies& replies, ServerList servers);

}  // namespace wendra
