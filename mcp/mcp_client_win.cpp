#include "mcp/mcp_client_win.h"

#include "config/json_object.h"

namespace wendra {
namespace {

// Closing a window is to end the program within two seconds.
constexpr std::uint32_t kFarewellMs = 1500;

constexpr char kKeepingServers[] =
    "[MCP] config.json changed but is not valid JSON - keeping current servers";

}  // namespace

McpClient::McpClient(ConfigFile& config, Log& log)
    : config_(config), log_(log), registry_(config, log), session_(timers_, log) {}

void McpClient::Start(HWND window) {
  window_ = window;
  timers_.window = window;
  const bool isRead = registry_.LoadMcpServers(window_);
  watch_.emplace(config_.Path());
  if (!isRead) LookAgain();
}

void McpClient::Stop() {
  session_.KillTimers();
  registry_.StopMcpServers();
}

void McpClient::LoadMcpServers() {
  registry_.StopMcpServers();
  for (McpServer* server : registry_.Servers()) session_.OnStopped(*server);
  if (!registry_.LoadMcpServers(window_)) LookAgain();
}

void McpClient::WaitForFarewells() { registry_.WaitForFarewells(kFarewellMs); }

bool McpClient::CheckMcpConfigChanged() {
  if (!watch_ || !watch_->HasChanged()) return false;
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

// Nothing has been read: what is in the file now must not count as seen.
void McpClient::LookAgain() {
  if (watch_) watch_->LookAgain();
  hasSaidUnreadable_ = true;
}

void McpClient::OnMessage(McpServer& server, std::unique_ptr<std::string> text) {
  if (server.running) session_.HandleMcpText(server, *text);
  if (server.transport) server.transport->OnMessageHandled(text->size());
}

void McpClient::OnClosed(McpServer& server) {
  if (!server.running) return;  // stopped on purpose
  server.running = false;
  server.exited = true;
  log_.Line("[MCP " + server.name + "] subprocess exited / closed stdout");
  session_.FailMcpPending(server, "MCP server '" + server.name + "' exited unexpectedly");
}

void McpClient::OnHttpPosted() {
  for (const HttpPosted& posted : registry_.TakePosted()) {
    if (posted.sessionIsOver && posted.server->running) session_.ForgetSession(*posted.server);
    if (posted.onSent) posted.onSent(posted.status);
  }
}

bool McpClient::WindowTimers::Start(std::uint64_t id, std::uint32_t periodMs) {
  return SetTimer(window, id, periodMs, nullptr) != 0;
}

void McpClient::WindowTimers::Kill(std::uint64_t id) { (void)KillTimer(window, id); }

}  // namespace wendra
