// Fuzzes the conversation with two servers: each operation ends once, each timer is killed, and a
// message has at most one effect.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mcp/connection.h"
#include "tests/support/recording_log.h"

namespace {

using namespace wendra;

constexpr size_t kMaxOperations = 200;

void Require(bool holds) {
  if (!holds) std::abort();
}

class StrictTimers : public RequestTimers {
 public:
  bool Start(std::uint64_t id, std::uint32_t periodMs) override {
    Require(id > last_ && id > 100 && periodMs > 0);
    last_ = id;
    live.insert(id);
    return true;
  }
  void Kill(std::uint64_t id) override { Require(live.erase(id) == 1); }

  std::set<std::uint64_t> live;

 private:
  std::uint64_t last_ = 0;
};

// What the host has sent to both servers.
struct Sent {
  size_t refusals = 0;
  std::set<std::string> requestIds;
};

class StrictTransport : public Transport {
 public:
  StrictTransport(Sent& sent, bool keepsOrder) : sent_(sent), keepsOrder_(keepsOrder) {}

  bool Send(OutgoingMessage message) override {
    Check(message);
    if (keepsOrder_ || !message.reportsStatus) return true;
    ++unreported;
    return false;
  }
  void Refuse(std::string text) override {
    Json json;
    Require(text.find('\n') == text.npos && Parse(text, json) && json.Find("error"));
    ++sent_.refusals;
  }
  std::shared_ptr<SessionEnd> Stop() override { return nullptr; }

  size_t unreported = 0;  // messages whose status is still to come

 private:
  void Check(const OutgoingMessage& message) {
    Json json;
    Require(message.text.find('\n') == message.text.npos && Parse(message.text, json));
    Require(json.kind == kJsonObject && json.members.at(0).first == "jsonrpc");
    const Json* id = json.Find("id");
    if (message.requestId.empty()) return Require(!json.Find("error") && !id);
    Require(id && id->text == message.requestId);
    Require(sent_.requestIds.insert(message.requestId).second);
  }

  Sent& sent_;
  const bool keepsOrder_;
};

class Conversation {
 public:
  // The first character of a line says what happens; the rest is the text of a message.
  void Step(std::string_view line) {
    const std::string_view rest = line.substr(1);
    switch (line[0]) {
      case 'p':
        return Receive(pipe_, rest);
      case 'h':
        return Receive(http_, rest);
      case 'P':
        return Ask(pipe_, rest.size());
      case 'H':
        return Ask(http_, rest.size());
      case 'e':
        return AskAfterHandshake(pipe_);
      case 'E':
        return AskAfterHandshake(http_);
      case 't':
        return FireTimer(rest.size());
      case 'x':
        return Exit(pipe_);
      case 'r':
        return ReportStatuses(202);
      case 'n':
        return ReportStatuses(404);
      case 'f':
        return http_->OnPosted({.status = 404, .sessionIsOver = true});
      case 's':
        return Stop(http_);
    }
  }

  void Finish() {
    ReportStatuses(202);
    while (!timers_.live.empty()) FireTimer(0);
    for (const int ends : ends_) Require(ends == 1);
    for (const Server& server : {pipe_, http_}) server->KillTimers();
  }

 private:
  using Server = std::shared_ptr<Connection>;

  Server Make(std::string name, TransportKind kind) {
    auto transport = std::make_unique<StrictTransport>(sent_, kind == TransportKind::kStdio);
    if (kind == TransportKind::kHttp) httpTransport_ = transport.get();
    ServerSettings settings;
    settings.name = std::move(name);
    settings.kind = kind;
    return std::make_shared<Connection>(ServerId{1}, settings, std::move(transport), numbers_,
                                        timers_, log_);
  }

  void ReportStatuses(std::uint32_t status) {
    for (; httpTransport_->unreported > 0; --httpTransport_->unreported) {
      http_->OnPosted({.status = status, .sessionIsOver = status == 404, .isAwaited = true});
    }
  }

  // Begins an operation and returns the function that ends it. The end begins the next operation if
  // `further` is not 0.
  std::function<void()> Begin(const Server& server, size_t further) {
    ends_.push_back(0);
    return [this, server, further, number = ends_.size() - 1] {
      ++ends_[number];
      if (further > 0 && ends_.size() < kMaxOperations) Ask(server, further - 1);
    };
  }

  void Ask(const Server& server, size_t further) {
    server->SendMcpRequest("m", Json::Object(), 1,
                           [end = Begin(server, further)](const Json&) { end(); });
  }

  void AskAfterHandshake(const Server& server) {
    server->EnsureMcpInitialized([this, server, end = Begin(server, 0)](const Json* why) {
      end();
      if (!why) Ask(server, 0);
    });
  }

  // A message ends one request (and with it all callers that wait for the handshake), or is
  // refused, or is logged, or has no effect.
  void Receive(const Server& server, std::string_view text) {
    const auto waiting = timers_.live;
    const size_t refusals = sent_.refusals;
    const size_t lines = log_.lines.size();
    server->HandleMcpText(text);
    const auto isKilled = [&](std::uint64_t timer) { return !timers_.live.contains(timer); };
    const auto ended = static_cast<size_t>(std::ranges::count_if(waiting, isKilled));
    Require(ended + (sent_.refusals - refusals) + (log_.lines.size() - lines) <= 1);
  }

  void FireTimer(size_t index) {
    if (timers_.live.empty()) return Require(!pipe_->OnTimer(index) && !http_->OnTimer(index));
    const size_t steps = index % timers_.live.size();
    const auto timer = *std::next(timers_.live.begin(), static_cast<std::ptrdiff_t>(steps));
    Require(pipe_->OnTimer(timer) || http_->OnTimer(timer));
    Require(!timers_.live.contains(timer));
  }

  static void Exit(const Server& server) { server->OnClosed(); }

  static void Stop(const Server& server) {
    (void)server->Stop();
    server->FailStopped();
  }

  Sent sent_;
  StrictTimers timers_;
  RecordingLog log_;
  RequestNumbers numbers_;
  StrictTransport* httpTransport_ = nullptr;  // of http_
  const Server pipe_ = Make("pipe", TransportKind::kStdio);
  const Server http_ = Make("http", TransportKind::kHttp);
  std::vector<int> ends_;  // how often each operation has ended, in the order of their beginnings
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  Conversation conversation;
  for (size_t steps = 0; !input.empty() && steps < kMaxOperations; ++steps) {
    const std::string_view line = input.substr(0, input.find('\n'));
    input.remove_prefix(std::min(input.size(), line.size() + 1));
    if (!line.empty()) conversation.Step(line);
  }
  conversation.Finish();
  return 0;
}
