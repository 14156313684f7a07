#include "mcp/connection.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "json/objects.h"
#include "json/value_count.h"
#include "mcp/http/answer_scanner.h"
#include "mcp/json_rpc.h"

namespace wendra {
namespace {

constexpr double kInitializeTimeoutSeconds = 45;
constexpr std::uint32_t kInitializedTimeoutMs = 45'000;  // this notification ends the handshake
constexpr std::uint32_t kNotFound = 404;                 // HTTP
constexpr std::size_t kMaxMessageValues = 1'000'000;
// Deliberate: each transport announces a version of its own.
constexpr char kProtocolVersionOfStdio[] = "2024-11-05";
constexpr char kProtocolVersionOfHttp[] = "2025-11-25";
constexpr int kMethodNotFound = -32601;  // JSON-RPC 2.0

Json InitializeParams(TransportKind kind) {
  const bool isHttp = kind == TransportKind::kHttp;
  return MakeObject(
      {{"protocolVersion", isHttp ? kProtocolVersionOfHttp : kProtocolVersionOfStdio},
       {"capabilities", Json::Object()},
       {"clientInfo", MakeObject({{"name", "wendra-windows"}, {"version", "0.1.0"}})}});
}

// The id of the request to which the message may be the response; "" if it can be none. Servers
// number their own requests too, so a number in a message with a method is the id of such a
// request.
std::string_view IdOfResponse(const Json& message) {
  const Json& id = MemberOf(message, "id");
  const bool mayBeOurs =
      id.kind == kJsonString || (id.kind == kJsonNumber && !message.Find("method"));
  return mayBeOurs ? std::string_view(id.text) : std::string_view();
}

}  // namespace

Connection::Connection(ServerId id, ServerSettings settings, std::unique_ptr<Transport> transport,
                       RequestNumbers& numbers, RequestTimers& timers, Log& log)
    : id_(id),
      settings_(std::move(settings)),
      state_(transport ? State::kStarted : State::kNotRunning),
      transport_(std::move(transport)),
      numbers_(numbers),
      timers_(timers),
      log_(log) {}

void Connection::RequestWhenReady(std::string_view method, Json params, double timeoutSeconds,
                                  OnReply onReply, OnReply onNotReady) {
  EnsureMcpInitialized([this, method = std::string(method), params = std::move(params),
                        timeoutSeconds, onReply = std::move(onReply),
                        onNotReady = std::move(onNotReady)](const Json* failure) mutable {
    if (failure) return onNotReady(*failure);
    SendMcpRequest(method, std::move(params), timeoutSeconds, std::move(onReply));
  });
}

void Connection::SendMcpRequest(std::string_view method, Json params, double timeoutSeconds,
                                OnReply onReply) {
  if (!IsRunning()) {
    return onReply(RpcFailure("MCP server '" + settings_.name + "' is not running"));
  }
  std::string id = std::to_string(++numbers_.lastRequestId);
  const auto timeoutMs = static_cast<std::uint32_t>(timeoutSeconds * 1000);
  transport_->Send({.text = ToText(RpcRequest(method, id, std::move(params))),
                    .requestId = id,
                    .timeoutMs = timeoutMs});

  // The response comes through the Inbox, so it cannot be handled before the request is stored
  // here.
  const std::uint64_t timer = ++numbers_.lastTimer;
  // Without a time-out the request might never end.
  if (!timers_.Start(timer, timeoutMs)) return onReply(RpcFailure("MCP request failed"));
  timerOfRequest_.emplace(id, timer);
  pending_.emplace(timer, Pending{std::move(id), std::move(onReply)});
}

bool Connection::SendMcpNotification(std::string_view method, Json params,
                                     std::uint32_t timeoutMs) {
  if (!IsRunning()) return true;
  return transport_->Send({.text = ToText(RpcNotification(method, std::move(params))),
                           .timeoutMs = timeoutMs,
                           .reportsStatus = true});
}

void Connection::EnsureMcpInitialized(OnInitialized onInitialized) {
  if (state_ == State::kReady) return onInitialized(nullptr);
  waiting_.push_back(std::move(onInitialized));
  if (state_ == State::kInitializing || state_ == State::kConfirming) return;
  if (state_ == State::kStarted) state_ = State::kInitializing;
  SendMcpRequest("initialize", InitializeParams(settings_.kind), kInitializeTimeoutSeconds,
                 [this](const Json& reply) { OnInitializeReply(reply); });
}

void Connection::OnInitializeReply(const Json& reply) {
  if (FindObject(reply, "error")) return EndHandshake(State::kStarted, &reply);
  const std::string& version = TextOf(MemberOf(reply, "result"), "protocolVersion");
  if (!version.empty()) transport_->SetProtocolVersion(version);
  state_ = State::kConfirming;
  // Requests wait for this notification: some servers refuse a request that overtakes it.
  const bool keepsOrder =
      SendMcpNotification("notifications/initialized", Json::Object(), kInitializedTimeoutMs);
  if (keepsOrder) OnConfirmed(0);
}

void Connection::OnConfirmed(std::uint32_t status) {
  if (status == kNotFound) {  // the session is over before it has begun
    const Json failure = RpcFailure("HTTP 404");
    return EndHandshake(State::kStarted, &failure);
  }
  transport_->OnInitialized();
  // The server may have forgotten the session meanwhile; see ForgetSession.
  const bool isReady = state_ == State::kConfirming;
  EndHandshake(isReady ? State::kReady : State::kStarted, nullptr);
}

// A server that is not running keeps that state.
void Connection::EndHandshake(State state, const Json* failure) {
  if (IsRunning()) state_ = state;
  // The list is emptied first: a callback may add itself again, for the next handshake.
  for (const OnInitialized& onInitialized : std::exchange(waiting_, {})) onInitialized(failure);
}

void Connection::HandleMcpText(std::string_view text) {
  if (!IsRunning()) return;
  auto message = HoldsMoreValues(text, kMaxMessageValues) ? std::nullopt : ParseJsonObject(text);
  if (message) return HandleMcpMessage(std::move(*message));
  if (settings_.kind == TransportKind::kHttp) EndUnusablyAnswered(text);
}

void Connection::EndUnusablyAnswered(std::string_view text) {
  const auto isAnswered = [&](const auto& entry) {
    AnswerScanner scanner(entry.second.id);
    scanner.Feed(text);
    return scanner.IsAnswer();
  };
  const auto request = std::ranges::find_if(pending_, isAnswered);
  if (request == pending_.end()) return;
  Complete(request->first, RpcFailure("MCP server returned no response"));
}

void Connection::HandleMcpMessage(Json message) {
  if (message.kind != kJsonObject) return;
  const auto request = timerOfRequest_.find(std::string(IdOfResponse(message)));
  if (request != timerOfRequest_.end()) return Complete(request->second, std::move(message));
  if (!message.Find("method")) return;  // a response to no pending request
  if (const Json* id = message.Find("id")) return Refuse(*id);
  if (const std::string* text = FindString(MemberOf(message, "params"), "message")) {
    log_.Line("[MCP " + settings_.name + "] " + *text);
  }
}

// The host offers servers no methods.
void Connection::Refuse(const Json& id) {
  if (!IsRunning()) return;
  transport_->Refuse(ToText(RpcErrorResponse(id, kMethodNotFound, "Method not found")));
}

void Connection::OnClosed() {
  if (!IsRunning()) return;  // the host has stopped the server
  state_ = State::kNotRunning;
  log_.Line("[MCP " + settings_.name + "] subprocess exited / closed stdout");
  FailMcpPending("MCP server '" + settings_.name + "' exited unexpectedly");
}

void Connection::OnPosted(const PostStatus& posted) {
  if (!IsRunning()) return;
  if (posted.sessionIsOver) ForgetSession();
  if (posted.isAwaited) OnConfirmed(posted.status);
}

// The next request makes a new handshake. Callers that wait for a handshake under way still get its
// outcome.
void Connection::ForgetSession() {
  transport_->ForgetSession();
  if (state_ == State::kReady) state_ = State::kStarted;
  if (state_ == State::kConfirming) state_ = State::kInitializing;
}

void Connection::FailMcpPending(std::string_view text) {
  std::vector<std::uint64_t> timers;
  for (const auto& [timer, pending] : pending_) timers.push_back(timer);
  const Json reply = RpcFailure(text);
  for (const std::uint64_t timer : timers) Complete(timer, reply);
}

std::shared_ptr<SessionEnd> Connection::Stop() {
  state_ = State::kNotRunning;
  return transport_ ? transport_->Stop() : nullptr;
}

void Connection::FailStopped() {
  const std::string text = "MCP server '" + settings_.name + "' was stopped";
  FailMcpPending(text);
  const Json failure = RpcFailure(text);
  EndHandshake(State::kNotRunning, &failure);  // for callers that wait in State::kConfirming
}

bool Connection::OnTimer(std::uint64_t timer) {
  if (!pending_.contains(timer)) return false;
  Complete(timer, RpcFailure("MCP request timed out"));
  return true;
}

// Removes the entry before the call: whatever the callback does, the request has ended.
void Connection::Complete(std::uint64_t timer, Json reply) {
  auto pending = pending_.extract(timer);
  if (pending.empty()) return;
  timers_.Kill(timer);
  timerOfRequest_.erase(pending.mapped().id);
  pending.mapped().onReply(std::move(reply));
}

void Connection::KillTimers() {
  for (const auto& [timer, pending] : pending_) timers_.Kill(timer);
  pending_.clear();
  timerOfRequest_.clear();
  waiting_.clear();
}

}  // namespace wendra
