// Reads the text of config.json into one value, with the log lines about its errors, and adds the
// chosen server to the text. Pure.
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
  std::string command;            // stdio: the program as in config.json; later its full path
  std::string url;                // http: the address as ParseHttpUrl gives it
  std::vector<std::string> args;  // stdio
  NamedValues env;                // stdio, in the order of config.json
  NamedValues headers;            // http, in the order of config.json
};

// One member of "mcpServers".
struct ServerEntry {
  std::vector<std::string> logLines;     // the log lines about the entry, in order
  std::optional<ServerSettings> server;  // nothing: the entry is skipped
};

// The values of config.json. All are checked except `server`: ServerChoice checks that one.
struct Settings {
  std::optional<std::string> server;    // "server"; "" if it is not a string
  std::string updateFeed;               // "updateFeed"; the built-in address unless it is http(s)
  std::string updateFeedComplaint;      // the log line for an "updateFeed" that is refused, or ""
  std::vector<ServerEntry> mcpServers;  // in the order of config.json, equal names included
};

// The settings if there is no configuration.
Settings DefaultSettings();

// `configText` is the whole text of config.json. Nothing if it is not a JSON object.
std::optional<Settings> ReadSettings(std::string_view configText);

// The text of config.json with `url` as its member "server", in compact form with CR LF at the end.
// If `configText` is not a JSON object, its content is lost and the new object holds only "server".
// Deliberate: a saved "server" moves to the end; the other members keep their order.
std::string WithSavedServer(std::string_view configText, std::string_view url);

}  // namespace wendra
