// The content of config.json: reads it into one value, with the log lines for whatever it says
// wrongly, and adds the chosen server to it. Pure.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace wendra {

enum class TransportKind { kStdio = 0, kHttp = 1 };

using NamedValues = std::vector<std::pair<std::string, std::string>>;

// An MCP server that can be started.
struct ServerSettings {
  std::string name;  // the key in config.json
  TransportKind kind = TransportKind::kStdio;
  std::string command;            // stdio: the program, as written; later the full path of its file
  std::string url;                // http: normalised
  std::vector<std::string> args;  // stdio
  NamedValues env;                // stdio, in the order of config.json
  NamedValues headers;            // http, in the order of config.json
};

// One member of "mcpServers".
struct ServerEntry {
  std::vector<std::string> logLines;     // what the log says about it, in order
  std::optional<ServerSettings> server;  // nothing: the entry is skipped
};

// Every value is checked except `server`, which goes through the address rules of ServerChoice.
struct Settings {
  std::optional<std::string> server;    // "server"; "" when it is not a string
  std::string updateFeed;               // "updateFeed"; the built-in address unless it is http(s)
  std::string updateFeedComplaint;      // the log line for an "updateFeed" that is refused, or ""
  std::vector<ServerEntry> mcpServers;  // in the order of config.json, equal names included
};

// The settings when there is no configuration.
Settings DefaultSettings();

// `configText` is the whole text of config.json. Nothing if it is not a JSON object.
std::optional<Settings> ReadSettings(std::string_view configText);

// The text of config.json with `url` as its member "server": compact, with CR LF at the end. If
// `configText` is not a JSON object, its content is lost and the result holds "server" alone.
// Deliberate: a saved "server" moves to the end; the other members keep their order.
std::string WithSavedServer(std::string_view configText, std::string_view url);

}  // namespace wendra
