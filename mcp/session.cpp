#include "mcp/session.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "config/json_object.h"
#include "json/value_count.h"
#include "mcp/http/answer_scanner.h"

namespace wendra {
namespace {

constexpr double kInitializeTimeoutSeconds = 45;
constexpr std::uint32_t kInitializedTimeoutMs = 45'000;  // a part of the handshake too
constexpr std::uint32_t kNotFound = 404;                 // HTTP
constexpr size_t kMaxMessageValues = 1'000'000;
constexpr char kProtocolVersionOfStdio[] = "2024-11-05";  // deliberate: each transport has its own
constexpr char kProtocolVersionOfHttp[] = "2025-11-25";
constexpr int kMethodNotFound = -32601;  // JSON-RPC 2.0

Json Message(std::string_view method) {
  Json message = Json::Object();
  message.members.emplace_back("jsonrpc", "2.0");
  message.members.emplace_back("method", std::string(method));
  return message;
}

std::string TextOf(const Json& message) {
  std::string text;
  Serialize(message, text);
  return text;
}

Json InitializeParams(const McpServer& server) {
  Json client = Json::Object();
  client.members.emplace_back("name", "wendra-windows");
  client.members.emplace_back("version", "0.1.0");
  Json params = Json::Object();
  params.members.emplace_back("protocolVersion", server.kind == TransportKind::kHttp
                                                     ? kProtocolVersionOfHttp
                                                     : kProtocolVersionOfStdio);
  params.members.emplace_back("capabilities", Json::Object());
  params.members.emplace_back("clientInfo", std::move(client));
  return params;
}

const Json* FindString(const Json* object, std::string_view key) {
  const Json* value = object ? object->Find(key) : nullptr;
  return value && value->kind == kJsonString ? value : nullptr;
}

// The id by which a response names our request; "" for what can name none. Servers number their own
// requests too: a number in a message with a method is one of theirs.
std::string_view IdOfResponse(const Json& message) {
  const Json* id = message.Find("id");
  if (!id) return {};
  const bool mayBeOurs =
      id->kind == kJsonString || (id->kind == kJsonNumber && !message.Find("method"));
  return mayBeOurs ? std::string_view(id->text) : std::string_view();
}

}  // namespace

void McpSession::SendMcpRequest(McpServer& server, std::string_view method, Json params,
                                double timeoutSeconds, OnReply onReply) {
  if (!server.running || !server.transport) {
    return onReply(ErrorReply("MCP server '" + server.name + "' is not running"));
  }
  std::string id = std::to_string(++lastRequestId_);
  Json message = Message(method);
  message.members.emplace_back("id", id);
  message.members.emplace_back("params", std::move(params));
  const auto timeoutMs = static_cast<std::uint32_t>(timeoutSeconds * 1000);
  server.transport->Send({TextOf(message), id, timeoutMs, {}});

  // Responses come through the window's queue: none can be here before its request is noted.
  const std::uint64_t timer = ++lastTimer_;
  // Without a time-out it might never end.
  if (!timers_.Start(timer, timeoutMs)) return onReply(ErrorReply("MCP request failed"));
  timerOfRequest_.emplace(id, timer);
  pending_.emplace(timer, Pending{&server, std::move(id), std::move(onReply)});
}

void McpSession::SendMcpNotification(McpServer& server, std::string_view method, Json params,
                                     std::uint32_t timeoutMs, OnSent onSent) {
  if (!server.running || !server.transport) {
    if (onSent) onSent(0);
    return;
  }
  Json message = Message(method);
  message.members.emplace_back("params", std::move(params));
  server.transport->Send({TextOf(message), "", timeoutMs, std::move(onSent)});
}

void McpSession::EnsureMcpInitialized(McpServer& server, OnInitialized onInitialized) {
  const auto [entry, isFirst] = waiting_.try_emplace(&server);
  if (isFirst && server.initialized) {
    waiting_.erase(entry);
    return onInitialized(nullptr);
  }
  entry->second.push_back(std::move(onInitialized));
  if (!isFirst) return;
  SendMcpRequest(server, "initialize", InitializeParams(server), kInitializeTimeoutSeconds,
                 [this, &server](const Json& reply) { OnInitializeReply(server, reply); });
}

void McpSession::OnInitializeReply(McpServer& server, const Json& reply) {
  if (const Json* error = reply.Find("error"); error && error->kind == kJsonObject) {
    return ReleaseWaiting(server, &reply);
  }
  if (const Json* version = FindString(reply.Find("result"), "protocolVersion");
      version && !version->text.empty()) {
    const std::lock_guard<std::mutex> lock(server.shared.mutex);
    server.shared.protocolVersion = version->text;
  }
  server.initialized = true;
  // Some servers refuse a request that overtakes this one.
  SendMcpNotification(server, "notifications/initialized", Json::Object(), kInitializedTimeoutMs,
                      [this, &server](std::uint32_t status) { OnInitializedSent(server, status); });
}

void McpSession::OnInitializedSent(McpServer& server, std::uint32_t status) {
  if (status == kNotFound) {  // the session is over before it has begun
    server.initialized = false;
    const Json failure = ErrorReply("HTTP 404");
    return ReleaseWaiting(server, &failure);
  }
  if (server.transport) server.transport->OnInitialized();
  ReleaseWaiting(server, nullptr);
}

void McpSession::ReleaseWaiting(McpServer& server, const Json* failure) {
  // Taken out first: who is called may come again.
  auto waiting = waiting_.extract(&server);
  if (waiting.empty()) return;
  for (const OnInitialized& onInitialized : waiting.mapped()) onInitialized(failure);
}

void McpSession::HandleMcpText(McpServer& server, std::string_view text) {
  auto message = HoldsMoreValues(text, kMaxMessageValues) ? std::nullopt : ParseJsonObject(text);
  if (message) return HandleMcpMessage(server, std::move(*message));
  if (server.kind == TransportKind::kHttp) EndUnusablyAnswered(server, text);
}

void McpSession::EndUnusablyAnswered(const McpServer& server, std::string_view text) {
  const auto isAnswered = [&](const auto& entry) {
    if (entry.second.server != &server) return false;
    AnswerScanner scanner(entry.second.id);
    scanner.Feed(text);
    return scanner.IsAnswer();
  };
  const auto request = std::ranges::find_if(pending_, isAnswered);
  if (request == pending_.end()) return;
  Complete(request->first, ErrorReply("MCP server returned no response"));
}

void McpSession::HandleMcpMessage(McpServer& server, Json message) {
  if (message.kind != kJsonObject) return;
  const auto request = timerOfRequest_.find(std::string(IdOfResponse(message)));
  if (request != timerOfRequest_.end() && pending_.at(request->second).server == &server) {
    return Complete(request->second, std::move(message));
  }
  if (!message.Find("method")) return;  // a response that nobody waits for any more
  if (const Json* id = message.Find("id")) return Refuse(server, *id);
  if (const Json* text = FindString(message.Find("params"), "message")) {
    log_.Line("[MCP " + server.name + "] " + text->text);
  }
}

// The host offers servers nothing that they could ask for.
void McpSession::Refuse(McpServer& server, const Json& id) {
  if (!server.running || !server.transport) return;
  Json error = Json::Object();
  error.members.emplace_back("code", Json(kMethodNotFound));
  error.members.emplace_back("message", "Method not found");
  Json answer = Json::Object();
  answer.members.emplace_back("jsonrpc", "2.0");
  answer.members.emplace_back("id", id);
  answer.members.emplace_back("error", std::move(error));
  server.transport->Refuse(TextOf(answer));
}

void McpSession::FailMcpPending(const McpServer& server, std::string_view text) {
  std::vector<std::uint64_t> timers;
  for (const auto& [timer, pending] : pending_) {
    if (pending.server == &server) timers.push_back(timer);
  }
  const Json reply = ErrorReply(text);
  for (const std::uint64_t timer : timers) Complete(timer, reply);
}

void McpSession::OnStopped(McpServer& server) {
  const std::string text = "MCP server '" + server.name + "' was stopped";
  FailMcpPending(server, text);
  const Json failure = ErrorReply(text);
  ReleaseWaiting(server, &failure);  // those that wait for the status of the notification
}

void McpSession::ForgetSession(McpServer& server) {
  const std::lock_guard<std::mutex> lock(server.shared.mutex);
  server.shared.sessionId.clear();
  server.shared.protocolVersion.clear();
  server.initialized = false;
}

void McpSession::OnTimer(std::uint64_t timer) {
  Complete(timer, ErrorReply("MCP request timed out"));
}

// The entry goes before the call: whatever comes of it, the request has ended.
void McpSession::Complete(std::uint64_t timer, Json reply) {
  auto pending = pending_.extract(timer);
  if (pending.empty()) return;
  timers_.Kill(timer);
  timerOfRequest_.erase(pending.mapped().id);
  pending.mapped().onReply(std::move(reply));
}

void McpSession::KillTimers() {
  for (const auto& [timer, pending] : pending_) timers_.Kill(timer);
  pending_.clear();
  timerOfRequest_.clear();
  waiting_.clear();
}

Json ErrorReply(std::string_view text) {
  Json error = Json::Object();
  error.members.emplace_back("message", std::string(text));
  Json reply = Json::Object();
  reply.members.emplace_back("error", std::move(error));
  return reply;
}

}  // namespace wendra
