#include "mcp/registry_win.h"

#include <algorithm>
#include <string>
#include <utility>

#include "config/json_object.h"
#include "mcp/http/http_transport_win.h"
#include "mcp/server_entries.h"
#include "mcp/stdio/stdio_transport_win.h"
#include "mcp/stdio/system_win.h"

namespace wendra {
namespace {

std::unique_ptr<McpServer> MakeRecord(ServerSettings settings) {
  auto server = std::make_unique<McpServer>();
  server->name = std::move(settings.name);
  server->kind = settings.kind;
  server->command = std::move(settings.command);
  server->url = std::move(settings.url);
  server->args = std::move(settings.args);
  server->env = std::move(settings.env);
  server->headers = std::move(settings.headers);
  return server;
}

}  // namespace

McpRegistry::~McpRegistry() {
  // Threads that have not yet noticed the stop go on using their record until the process ends.
  for (auto& record : records_) (void)record.release();
}

bool McpRegistry::LoadMcpServers(HWND window) {
  WaitForFarewells(0);
  servers_.clear();
  config_.EnsureDefaultConfig();
  const ConfigReading reading = config_.Read();
  LoadFrom(reading.text, window);
  return reading.isReadable;
}

void McpRegistry::LoadFrom(const std::string& text, HWND window) {
  if (text.empty()) return log_.Line("[MCP] could not read config.json — skipping client MCP");
  const auto config = ParseJsonObject(text);
  if (!config) return log_.Line("[MCP] config.json is not a JSON object — skipping client MCP");
  const Json* configured = FindConfiguredServers(*config);
  if (!configured) return log_.Line("[MCP] no mcpServers configured");

  for (ServerEntry& entry : ReadServerEntries(*configured, &ResolveCommandOnSystem)) {
    for (const std::string& line : entry.logLines) log_.Line(line);
    if (entry.server) Add(MakeRecord(std::move(*entry.server)), window);
  }
  log_.Line("[MCP] loaded " + std::to_string(servers_.size()) + " server(s)");
}

void McpRegistry::Add(std::unique_ptr<McpServer> record, HWND window) {
  McpServer& server = *records_.emplace_back(std::move(record));
  servers_.push_back(&server);
  if (server.kind == TransportKind::kStdio) {
    return StartStdioServer(server, window, backlog_, log_);
  }
  server.transport = MakeHttpTransport(server, window, backlog_, posted_);
  server.running = true;
}

void McpRegistry::StopMcpServers() {
  for (McpServer* server : servers_) StopMcpServer(*server);
}

void McpRegistry::WaitForFarewells(std::uint32_t maxMs) {
  const ULONGLONG endMs = GetTickCount64() + maxMs;
  for (const auto& record : records_) {
    const ULONGLONG leftMs = endMs - std::min(endMs, GetTickCount64());
    if (record->transport) record->transport->WaitForFarewell(static_cast<std::uint32_t>(leftMs));
  }
}

// A server whose output has ended by itself is not running any more, but may still live.
void McpRegistry::StopMcpServer(McpServer& server) {
  server.running = false;
  if (server.transport) server.transport->Stop();
}

}  // namespace wendra
