// Fuzzes a whole client with the real transports and their threads: reloads, output of servers in
// any chunks, ends of servers, HTTP responses and time-outs in any order. Each request ends once,
// each timer is killed, and no thread is left at the end.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "base/clock.h"
#include "mcp/client.h"
#include "tests/support/patience.h"
#include "tests/support/queue_inbox.h"
#include "tests/support/scripted_servers.h"

namespace {

using namespace wendra;

constexpr size_t kMaxSteps = 100;

void Require(bool holds) {
  if (!holds) std::abort();
}

class NoLog : public Log {
 public:
  void Line(std::string_view) override {}
  void LineFromAnyThread(std::string_view) override {}
};

class StrictTimers : public RequestTimers {
 public:
  bool Start(std::uint64_t id, std::uint32_t periodMs) override {
    Require(periodMs > 0 && live.insert(id).second);
    return true;
  }
  void Kill(std::uint64_t id) override { Require(live.erase(id) == 1); }

  std::set<std::uint64_t> live;
};

// The HTTP responses of the remote server, in order; 202 when none is left.
class Responses {
 public:
  void Add(std::string_view text) {
    const std::lock_guard<Lock> lock(lock_);
    texts_.emplace_back(text);
  }
  std::string Next() {
    const std::lock_guard<Lock> lock(lock_);
    if (texts_.empty()) return "HTTP/1.1 202 Accepted\r\nContent-Length: 0\r\n\r\n";
    std::string text = std::move(texts_.front());
    texts_.pop_front();
    return text;
  }

 private:
  Lock lock_;
  std::deque<std::string> texts_;
};

class Run {
 public:
  Run() {
    starter_.http = std::make_shared<MemoryHttpServer>(
        [this](const HttpRequest&, MemoryConnection& connection) {
          (void)connection.Send(responses_.Next());
        });
    config_.text = kConfigs[2];
    client_->Start(inbox_);
  }

  // The first character of a line says what happens; the rest is the text for it.
  void Step(std::string_view line) {
    const std::string_view rest = line.substr(1);
    switch (line[0]) {
      case 'c':  // another configuration
        config_.text = kConfigs[rest.size() % std::size(kConfigs)];
        return client_->LoadMcpServers();
      case 'o':  // output of the local server
        if (starter_.children.contains("l")) starter_.children["l"].output->Feed(rest);
        return;
      case 'n':  // the same with a line end
        if (starter_.children.contains("l")) {
          starter_.children["l"].output->Feed(std::string(rest) + "\n");
        }
        return;
      case 'x':  // the end of that output
        if (starter_.children.contains("l")) starter_.children["l"].output->End();
        return;
      case 'f':  // the local server stops reading; with a text, reads again
        if (starter_.children.contains("l")) starter_.children["l"].input->SetFull(rest.empty());
        return;
      case 'h':  // JSON from the remote server
        return responses_.Add(Response("application/json", rest));
      case 's':  // an event stream from the remote server
        return responses_.Add(Response("text/event-stream", "data: " + std::string(rest) + "\n"));
      case 'r':  // any bytes from the remote server
        return responses_.Add(rest);
      case 'a':
        return Ask(rest.size());
      case 't':
        return FireTimer(rest.size());
      case 'w':
        ++config_.time;
        (void)client_->CheckMcpConfigChanged();
        return;
      case 'm':
        return Handle(2);
    }
  }

  void Finish() {
    config_.text = "{}";
    client_->LoadMcpServers();
    Require(timers_.live.empty());
    for (const int ends : ends_) Require(ends == 1);
    client_->Stop();
    client_->WaitForSessionEnds();
    client_.reset();
    // The threads hold the inbox as long as they run.
    const std::uint64_t endMs = ClockMs() + kPatienceMs;
    while (inbox_.use_count() > 1 && ClockMs() < endMs) std::this_thread::yield();
    Require(inbox_.use_count() == 1);
    starter_.http->GoDown();
  }

 private:
  static constexpr const char* kConfigs[] = {
      R"({"mcpServers":{"l":{"command":"l.exe"}}})",
      R"({"mcpServers":{"r":{"url":"http://localhost/mcp"}}})",
      R"({"mcpServers":{"l":{"command":"l.exe"},"r":{"url":"http://localhost/mcp"}}})",
      "{",
  };

  static std::string Response(std::string_view type, std::string_view body) {
    return "HTTP/1.1 200 OK\r\nMcp-Session-Id: s\r\nContent-Type: " + std::string(type) +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
  }

  void Ask(size_t which) {
    if (client_->Servers().empty()) return;
    ends_.push_back(0);
    const auto end = [this, number = ends_.size() - 1](const Json&) { ++ends_[number]; };
    const auto server = client_->Servers()[which % client_->Servers().size()];
    server->RequestWhenReady("m", Json::Object(), 30, end, end);
  }

  void FireTimer(size_t which) {
    if (timers_.live.empty()) return client_->OnTimer(which);
    const auto steps = static_cast<std::ptrdiff_t>(which % timers_.live.size());
    client_->OnTimer(*std::next(timers_.live.begin(), steps));
  }

  // Handles deliveries until none comes for `maxMs` milliseconds.
  void Handle(std::uint32_t maxMs) {
    while (const auto message = inbox_->Take(maxMs)) {
      if (const auto* text = std::get_if<std::string>(&message->content)) {
        client_->OnText(message->server, *text);
      } else if (const auto* status = std::get_if<PostStatus>(&message->content)) {
        client_->OnPosted(message->server, *status);
      } else {
        client_->OnClosed(message->server);
      }
    }
  }

  NoLog log_;
  StrictTimers timers_;
  Responses responses_;
  ScriptedConfig config_;
  ScriptedStarter starter_{log_};
  std::shared_ptr<QueueInbox> inbox_ = std::make_shared<QueueInbox>();
  std::vector<int> ends_;  // how often each request has ended
  std::unique_ptr<McpClient> client_ =
      std::make_unique<McpClient>(config_, starter_, timers_, log_);
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view input(reinterpret_cast<const char*>(data), size);
  Run run;
  for (size_t steps = 0; !input.empty() && steps < kMaxSteps; ++steps) {
    const std::string_view line = input.substr(0, input.find('\n'));
    input.remove_prefix(std::min(input.size(), line.size() + 1));
    if (!line.empty()) run.Step(line);
  }
  run.Finish();
  return 0;
}
