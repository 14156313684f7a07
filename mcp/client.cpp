#include "mcp/client.h"

#include <algorithm>
#include <utility>

#include "base/clock.h"
#include "json/objects.h"

namespace wendra {
namespace {

// The program must end within two seconds after its window is closed.
constexpr std::uint64_t kSessionEndsMs = 1500;

constexpr char kKeepingServers[] =
    "[MCP] config.json changed but is not valid JSON - keeping current servers";

}  // namespace

McpClient::McpClient(ConfigStore& config, ServerStarter& starter, RequestTimers& timers, Log& log)
    : config_(config), starter_(starter), timers_(timers), log_(log) {}

void McpClient::Start(std::shared_ptr<Inbox> inbox) {
  flow_ = std::make_shared<FlowControl>(std::move(inbox));
  const bool isRead = StartServers();
  watch_.emplace(config_);
  if (!isRead) LookAgain();
}

void McpClient::Stop() {
  isStopped_ = true;
  for (const auto& connection : connections_) connection->KillTimers();
  StopServers();
}

void McpClient::LoadMcpServers() {
  if (isStopped_) return;
  StopServers();
  // The list is empty during the callbacks, so they find no stopped server in it. A stopped
  // connection is freed when its last holder releases it.
  for (const auto& connection : std::exchange(connections_, {})) connection->FailStopped();
  if (!StartServers()) LookAgain();
}

void McpClient::StopServers() {
  std::erase_if(sessionEnds_, [](const auto& end) { return end->WaitFor(0); });
  for (const auto& connection : connections_) {
    flow_->Close(connection->Id());
    if (auto end = connection->Stop()) sessionEnds_.push_back(std::move(end));
  }
}

void McpClient::WaitForSessionEnds() {
  const std::uint64_t endMs = ClockMs() + kSessionEndsMs;
  for (const auto& end : sessionEnds_) {
    (void)end->WaitFor(static_cast<std::uint32_t>(endMs - std::min(endMs, ClockMs())));
  }
}

// False: the file exists but could not be read, so no server was started.
bool McpClient::StartServers() {
  config_.EnsureDefaultConfig();
  const ConfigReading reading = config_.Read();
  StartFrom(reading.text);
  return reading.isReadable;
}

void McpClient::StartFrom(const std::string& text) {
  if (text.empty()) return log_.Line("[MCP] could not read config.json — skipping client MCP");
  auto settings = ReadSettings(text);
  if (!settings) return log_.Line("[MCP] config.json is not a JSON object — skipping client MCP");
  if (settings->mcpServers.empty()) return log_.Line("[MCP] no mcpServers configured");

  for (ServerEntry& entry : settings->mcpServers) {
    for (const std::string& line : entry.logLines) log_.Line(line);
    if (entry.server) Add(std::move(*entry.server));
  }
  log_.Line("[MCP] loaded " + std::to_string(connections_.size()) + " server(s)");
}

void McpClient::Add(ServerSettings settings) {
  if (settings.kind == TransportKind::kStdio) {
    std::string path = starter_.ResolveCommand(settings.command);
    if (path.empty()) {
      return log_.Line("[MCP] server '" + settings.name +
                       "': command not found: " + settings.command);
    }
    settings.command = std::move(path);
  }
  const ServerId id{++lastServerId_};
  flow_->Open(id);
  auto transport = starter_.Start(id, settings, flow_);
  connections_.push_back(std::make_shared<Connection>(id, std::move(settings), std::move(transport),
                                                      numbers_, timers_, log_));
}

bool McpClient::CheckMcpConfigChanged() {
  if (isStopped_ || !watch_ || !watch_->HasChanged()) return false;
  const ConfigReading config = config_.Read();
  if (!config.isReadable) {
    if (!hasSaidUnreadable_) log_.Line(kKeepingServers);
    LookAgain();
    return false;
  }
  hasSaidUnreadable_ = false;
  if (!ParseJsonObject(config.text)) {
    log_.Line(kKeepingServers);
    return false;
  }
  log_.Line("[MCP] config.json changed on disk - reloading servers");
  LoadMcpServers();
  return true;
}

// The file could not be read, so its present content must count as a change at the next look.
void McpClient::LookAgain() {
  if (watch_) watch_->LookAgain();
  hasSaidUnreadable_ = true;
}

std::shared_ptr<Connection> McpClient::Find(ServerId server) const {
  const auto found = std::ranges::find(connections_, server, &Connection::Id);
  return found == connections_.end() ? nullptr : *found;
}

void McpClient::OnText(ServerId server, const std::string& text) {
  if (const auto connection = Find(server)) connection->HandleMcpText(text);
  if (flow_) flow_->OnHandled(server, text.size());
}

void McpClient::OnClosed(ServerId server) {
  if (const auto connection = Find(server)) connection->OnClosed();
}

void McpClient::OnPosted(ServerId server, const PostStatus& status) {
  if (const auto connection = Find(server)) connection->OnPosted(status);
}

void McpClient::OnTimer(std::uint64_t timer) {
  const Connections servers = connections_;  // a copy: a callback may reload the servers
  for (const auto& connection : servers) {
    if (connection->OnTimer(timer)) return;
  }
}

}  // namespace wendra
