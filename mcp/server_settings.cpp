#include "mcp/server_settings.h"

#include <utility>

#include "base/utf8.h"
#include "config/server_address.h"
#include "json/objects.h"

namespace wendra {
namespace {

bool IsDisabled(const Json& entry) {
  const Json& enabled = MemberOf(entry, "enabled");
  return (enabled.kind == kJsonBool && !enabled.boolean) ||
         (enabled.kind == kJsonNumber && enabled.number == 0);
}

// The members of the object `entry[key]` that are strings.
NamedValues NamedTexts(const Json& entry, std::string_view key) {
  NamedValues values;
  for (const auto& [name, value] : MemberOf(entry, key).members) {
    if (value.kind == kJsonString) values.emplace_back(name, value.text);
  }
  return values;
}

// The elements of the array `entry[key]` that are strings.
std::vector<std::string> Texts(const Json& entry, std::string_view key) {
  std::vector<std::string> texts;
  for (const Json& item : MemberOf(entry, key).items) {
    if (item.kind == kJsonString) texts.push_back(item.text);
  }
  return texts;
}

ServerEntry Skipped(const std::string& name, const std::string& reason) {
  return {{"[MCP] server '" + name + "'" + reason}, std::nullopt};
}

// A header name without control characters, so that the log entry stays one line.
std::string Printable(std::string name) {
  for (char& c : name) {
    if (HoldsControlCharacter({&c, 1})) c = '?';
  }
  return name;
}

void AddUnsentHeaders(const ServerSettings& server, std::vector<std::string>& logLines) {
  for (const auto& [name, value] : server.headers) {
    if (!HoldsControlCharacter(name) && !HoldsControlCharacter(value)) continue;
    logLines.push_back("[MCP] server '" + server.name + "': header '" + Printable(name) +
                       "' holds a control character — not sent");
  }
}

ServerEntry RemoteEntry(const std::string& name, const Json& entry) {
  const std::string url = ParseHttpUrl(TextOf(entry, "url"));
  if (url.empty()) return Skipped(name, " has an invalid url — skipped");
  ServerSettings server;
  server.name = name;
  server.kind = TransportKind::kHttp;
  server.url = url;
  server.headers = NamedTexts(entry, "headers");
  std::vector<std::string> logLines = {"[MCP] " + name + " -> " + url + " (http)"};
  AddUnsentHeaders(server, logLines);
  return {std::move(logLines), std::move(server)};
}

ServerEntry LocalEntry(const std::string& name, const Json& entry, const CommandResolver& resolve) {
  const std::string& command = TextOf(entry, "command");
  ServerSettings server;
  server.name = name;
  server.command = resolve(command);
  if (server.command.empty()) return Skipped(name, ": command not found: " + command);
  server.args = Texts(entry, "args");
  server.env = NamedTexts(entry, "env");
  std::erase_if(server.env, [](const auto& variable) { return variable.first.empty(); });
  return {{}, std::move(server)};  // ServerStarter::Start logs the outcome
}

ServerEntry ReadEntry(const std::string& name, const Json& entry, const CommandResolver& resolve) {
  if (entry.kind != kJsonObject) return {};
  if (IsDisabled(entry)) return Skipped(name, " is disabled — skipped");
  if (!TextOf(entry, "url").empty()) return RemoteEntry(name, entry);
  if (!TextOf(entry, "command").empty()) return LocalEntry(name, entry, resolve);
  return Skipped(name, " has no command or url — skipped");
}

}  // namespace

const Json* FindConfiguredServers(const Json& config) {
  const Json* servers = config.Find("mcpServers");
  return servers && !servers->members.empty() ? servers : nullptr;
}

std::vector<ServerEntry> ReadServerEntries(const Json& mcpServers, const CommandResolver& resolve) {
  std::vector<ServerEntry> entries;
  for (const auto& [name, entry] : mcpServers.members) {
    entries.push_back(ReadEntry(name, entry, resolve));
  }
  return entries;
}

}  // namespace wendra
