#include "devruntime/webview2/devtools_connection_win.h"

#include <mutex>
#include <utility>
#include <vector>

#include "base/thread.h"
#include "devruntime/webview2/browser_port_win.h"
#include "json/objects.h"

namespace wendra {
namespace {

constexpr size_t kMaxTraceBytes = 500;

// There are many network events, and only two of them are used. The others are not even parsed.
// Chromium writes the method first.
bool IsOfInterest(std::string_view message) {
  constexpr std::string_view kNetwork = "{\"method\":\"Network.";
  if (!message.starts_with(kNetwork)) return true;
  message.remove_prefix(kNetwork.size());
  return message.starts_with("requestWillBeSent\"") || message.starts_with("loadingFailed\"");
}

}  // namespace

std::shared_ptr<DevToolsConnection> DevToolsConnection::Start(
    const ControlSettings& settings, std::function<void(bool)> onConnected) {
  auto connection = std::make_shared<DevToolsConnection>();
  // The thread owns a share, so the connection lives at least as long as its socket is open.
  (void)StartDetachedThread([connection, settings, onConnected = std::move(onConnected)]() mutable {
    connection->Run(settings, std::move(onConnected));
  });
  return connection;
}

void DevToolsConnection::Run(const ControlSettings& settings,
                             std::function<void(bool)> onConnected) {
  const bool connected = Connect(settings);
  onConnected(connected);
  onConnected = nullptr;  // the objects that it holds may hold this connection
  if (!connected) return;
  std::string message;
  while (socket_.Receive(message)) Dispatch(message);
  FailEverything();
}

bool DevToolsConnection::Connect(const ControlSettings& settings) {
  if (!settings.traceFile.empty()) trace_ = std::make_unique<EventFile>(settings.traceFile);
  const auto where = WaitForBrowserPort(settings.browserPortFile, settings.browserWaitMs);
  if (!where || !socket_.Connect(where->port, where->path)) {
    SetState(State::kGone);
    return false;
  }
  std::string version = ReadBrowserVersion(where->port);
  {
    const std::lock_guard<Lock> lock(lock_);
    browserVersion_ = std::move(version);
  }
  SetState(State::kOpen);
  return true;
}

void DevToolsConnection::SetState(State state) {
  const std::lock_guard<Lock> lock(lock_);
  state_ = state;
  stateChanged_.WakeAll();
}

bool DevToolsConnection::WaitUntilConnected() {
  const std::lock_guard<Lock> lock(lock_);
  stateChanged_.Wait(lock_, [this] { return state_ != State::kConnecting; });
  return state_ == State::kOpen;
}

bool DevToolsConnection::IsOpen() {
  const std::lock_guard<Lock> lock(lock_);
  return state_ == State::kOpen;
}

std::string DevToolsConnection::BrowserVersion() {
  const std::lock_guard<Lock> lock(lock_);
  return browserVersion_;
}

// The id of a new call, whose reply is moved into the table; 0 without a connection.
std::int64_t DevToolsConnection::Register(std::string_view sessionId, Reply& reply) {
  const std::lock_guard<Lock> lock(lock_);
  if (state_ != State::kOpen) return 0;
  const std::int64_t id = ++lastId_;
  if (reply) pending_.emplace(id, Pending{std::string(sessionId), std::move(reply)});
  return id;
}

void DevToolsConnection::Call(std::string_view sessionId, std::string_view method,
                              const Json& params, Reply reply) {
  const std::int64_t id = Register(sessionId, reply);
  if (id == 0) {
    if (reply) reply(nullptr);
    return;
  }
  std::string message = "{\"id\":" + std::to_string(id);
  if (!sessionId.empty()) message.append(",\"sessionId\":\"").append(sessionId).append("\"");
  message.append(",\"method\":\"").append(method).append("\",\"params\":");
  Serialize(params, message);
  message += '}';
  Trace(" -> ", message);
  // When sending fails, the receiving thread fails too and completes all pending calls.
  (void)socket_.Send(message);
}

void DevToolsConnection::Listen(const std::string& sessionId, Listener listener) {
  const std::lock_guard<Lock> lock(lock_);
  listeners_[sessionId] = std::make_shared<const Listener>(std::move(listener));
}

void DevToolsConnection::StopListening(const std::string& sessionId) {
  const std::lock_guard<Lock> lock(lock_);
  listeners_.erase(sessionId);
}

void DevToolsConnection::Abandon(const std::string& sessionId) {
  std::vector<Reply> replies;
  {
    const std::lock_guard<Lock> lock(lock_);
    for (auto& [id, call] : pending_) {
      if (call.sessionId == sessionId) replies.push_back(std::move(call.reply));
    }
    std::erase_if(pending_, [&](const auto& entry) { return entry.second.sessionId == sessionId; });
  }
  for (const Reply& reply : replies) reply(nullptr);
}

void DevToolsConnection::Close() { socket_.Shutdown(); }

void DevToolsConnection::Trace(const char* direction, std::string_view message) {
  if (!trace_) return;
  trace_->WriteLine(std::to_string(GetTickCount64()) + direction +
                    std::string(message.substr(0, kMaxTraceBytes)));
}

void DevToolsConnection::Dispatch(std::string_view message) {
  Trace(" <- ", message);
  if (!IsOfInterest(message)) return;
  auto parsed = ParseJsonObject(message);
  if (!parsed) return;
  if (const Json* id = parsed->Find("id")) {
    DispatchReply(static_cast<std::int64_t>(id->number), *parsed);
  } else {
    DispatchEvent(*parsed);
  }
}

void DevToolsConnection::DispatchReply(std::int64_t id, const Json& message) {
  Reply reply;
  {
    const std::lock_guard<Lock> lock(lock_);
    const auto found = pending_.find(id);
    if (found == pending_.end()) return;
    reply = std::move(found->second.reply);
    pending_.erase(found);
  }
  reply(message.Find("result"));
}

void DevToolsConnection::DispatchEvent(Json& message) {
  std::shared_ptr<const Listener> listener;
  {
    const std::lock_guard<Lock> lock(lock_);
    const auto found = listeners_.find(TextOf(message, "sessionId"));
    if (found == listeners_.end()) return;
    listener = found->second;
  }
  for (auto& [key, value] : message.members) {
    if (key != "params") continue;
    listener->onEvent(TextOf(message, "method"), value);
    return;
  }
}

void DevToolsConnection::FailEverything() {
  std::unordered_map<std::int64_t, Pending> pending;
  std::unordered_map<std::string, std::shared_ptr<const Listener>> listeners;
  {
    const std::lock_guard<Lock> lock(lock_);
    state_ = State::kGone;
    pending.swap(pending_);
    listeners.swap(listeners_);
  }
  for (const auto& [id, call] : pending) call.reply(nullptr);
  for (const auto& [id, listener] : listeners) {
    if (listener->onClosed) listener->onClosed();
  }
}

}  // namespace wendra
