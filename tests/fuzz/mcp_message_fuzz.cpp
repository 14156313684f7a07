// Whatever a server sends: each request of ours ends at most once by it, and nothing is sent but
// refusals of the server's own requests.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "mcp/session.h"

namespace {

void Check(bool holds) {
  if (!holds) std::abort();
}

class SilentLog : public wendra::Log {
 public:
  void Line(std::string_view line) override { Check(line.starts_with("[MCP s] ")); }
  void LineFromAnyThread(std::string_view) override { std::abort(); }
};

class NoTimers : public wendra::RequestTimers {
 public:
  void Start(std::uint64_t, std::uint32_t) override {}
  void Kill(std::uint64_t) override {}
};

class Refusals : public wendra::Transport {
 public:
  void Send(wendra::OutgoingMessage message) override {
    if (isOurTurn) return;
    wendra::Json sent;
    Check(wendra::Parse(message.text, sent));
    const wendra::Json* error = sent.Find("error");
    Check(error && error->Find("code")->text == "-32601");
  }
  void Stop() override {}
  bool isOurTurn = false;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kRequests = 3;
  SilentLog log;
  NoTimers timers;
  wendra::McpSession session(timers, log);
  wendra::McpServer server;
  server.name = "s";
  server.running = true;
  auto transport = std::make_unique<Refusals>();
  Refusals& refusals = *transport;
  server.transport = std::move(transport);

  std::vector<int> ends(kRequests);
  refusals.isOurTurn = true;
  for (std::size_t i = 0; i < kRequests; ++i) {
    session.SendMcpRequest(server, "m", wendra::Json::Object(), 1,
                           [&ends, i](const wendra::Json&) { ++ends[i]; });
  }
  refusals.isOurTurn = false;

  // Each line of the input is one message.
  std::string_view rest(reinterpret_cast<const char*>(data), size);
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    session.HandleMcpText(server, rest.substr(0, end));
    rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
  }
  for (const int count : ends) Check(count <= 1);
  session.FailMcpPending(server, "end");
  for (const int count : ends) Check(count == 1);
  return 0;
}
