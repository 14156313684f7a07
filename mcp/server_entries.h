// The entries under "mcpServers" in config.json: which servers they name, and what the log says of
// each. Pure.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "json/json.h"
#include "mcp/server.h"

namespace wendra {

// What a record is made of; see McpServer for the fields.
struct ServerSettings {
  std::string name;
  TransportKind kind = TransportKind::kStdio;
  std::string command;
  std::string url;
  std::vector<std::string> args;
  NamedValues env;
  NamedValues headers;
};

// One member of "mcpServers".
struct ServerEntry {
  std::vector<std::string> logLines;     // what the log says of it, in order
  std::optional<ServerSettings> server;  // nothing when it is skipped
};

// The full path of the file that a command names; "" when there is none.
using CommandResolver = std::function<std::string(const std::string& command)>;

// The member "mcpServers" of the configuration; null unless it is an object that holds something.
const Json* FindConfiguredServers(const Json& config);

// An entry for each member, in their order, equal names included.
std::vector<ServerEntry> ReadServerEntries(const Json& mcpServers, const CommandResolver& resolve);

}  // namespace wendra
