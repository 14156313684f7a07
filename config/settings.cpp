#include "config/settings.h"

#include "base/product.h"
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

// The string members of the object in the member `key`; empty if there is no such object.
NamedValues NamedTexts(const Json& entry, std::string_view key) {
  NamedValues values;
  for (const auto& [name, value] : MemberOf(entry, key).members) {
    if (value.kind == kJsonString) values.emplace_back(name, value.text);
  }
  return values;
}

// The string elements of the array in the member `key`; empty if there is no such array.
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

// A header name for the log: '?' replaces control characters, so that the log line stays one line.
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

// Without log lines: these come later, when the command is searched and started.
ServerEntry LocalEntry(const std::string& name, const Json& entry) {
  ServerSettings server;
  server.name = name;
  server.command = TextOf(entry, "command");
  server.args = Texts(entry, "args");
  server.env = NamedTexts(entry, "env");
  std::erase_if(server.env, [](const auto& variable) { return variable.first.empty(); });
  return {{}, std::move(server)};
}

ServerEntry ReadEntry(const std::string& name, const Json& entry) {
  if (entry.kind != kJsonObject) return {};
  if (IsDisabled(entry)) return Skipped(name, " is disabled — skipped");
  if (!TextOf(entry, "url").empty()) return RemoteEntry(name, entry);
  if (!TextOf(entry, "command").empty()) return LocalEntry(name, entry);
  return Skipped(name, " has no command or url — skipped");
}

void ReadUpdateFeed(const std::string& feed, Settings& settings) {
  if (feed.starts_with("http://") || feed.starts_with("https://")) {
    settings.updateFeed = feed;
  } else if (!feed.empty()) {
    settings.updateFeedComplaint = "[Update] ignoring \"updateFeed\" — expected an http/https URL";
  }
}

}  // namespace

Settings DefaultSettings() {
  Settings settings;
  settings.updateFeed = "https://" + std::string(kReleaseHost) + "/releases/win/appcast.xml";
  return settings;
}

std::optional<Settings> ReadSettings(std::string_view configText) {
  const auto config = ParseJsonObject(configText);
  if (!config) return std::nullopt;
  Settings settings = DefaultSettings();
  if (config->Find("server")) settings.server = TextOf(*config, "server");
  ReadUpdateFeed(TextOf(*config, "updateFeed"), settings);
  for (const auto& [name, entry] : MemberOf(*config, "mcpServers").members) {
    settings.mcpServers.push_back(ReadEntry(name, entry));
  }
  return settings;
}

std::string WithSavedServer(std::string_view configText, std::string_view url) {
  Json config = ParseJsonObject(configText).value_or(Json::Object());
  std::erase_if(config.members, [](const auto& member) { return member.first == "server"; });
  config.members.emplace_back("server", url);
  return ToText(config) + "\r\n";
}

}  // namespace wendra
