// Reads the MCP servers from config.json: the entries of "mcpServers" and the log lines about each.
// Pure.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "json/json.h"

namespace wendra {

enum class TransportKind { kStdio = 0, kHttp = 1 };

using NamedValues = std::vector<std::pair<std::string, std::string>>;

struct ServerSettings {
  std::string name;  // the key in config.json
  TransportKind kind = TransportKind::kStdio;
  std::string command;  // stdio: full path of the program
  std::string url;      // http: normalised
  std::vector<std::string> args;
  NamedValues env;      // stdio, in the order of config.json
  NamedValues headers;  // http, in the order of config.json
};

// One member of "mcpServers".
struct ServerEntry {
  std::vector<std::string> logLines;     // to be logged, in order
  std::optional<ServerSettings> server;  // nothing if the member is skipped
};

// The full path of the file that a command names; "" when there is no such file.
using CommandResolver = std::function<std::string(const std::string& command)>;

// The member "mcpServers" of the configuration; null unless it is an object with a member.
const Json* FindConfiguredServers(const Json& config);

// One entry for each member, in their order. Members with equal names each have an entry.
std::vector<ServerEntry> ReadServerEntries(const Json& mcpServers, const CommandResolver& resolve);

}  // namespace wendra
