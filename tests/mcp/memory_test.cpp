// Checks that a reload leaves no memory behind. A program of its own, since it counts all
// allocations.
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <variant>

#include <gtest/gtest.h>

#include "base/clock.h"
#include "mcp/client.h"
#include "tests/support/patience.h"
#include "tests/support/queue_inbox.h"
#include "tests/support/recording_transport.h"
#include "tests/support/scripted_servers.h"
#include "tests/support/shared_log.h"

namespace {

std::atomic<long long> allocations = 0;  // not freed yet

void* Allocate(std::size_t bytes) {
  void* memory = std::malloc(bytes ? bytes : 1);
  if (!memory) throw std::bad_alloc();
  ++allocations;
  return memory;
}

void Free(void* memory) noexcept {
  if (memory) --allocations;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t bytes) { return Allocate(bytes); }
void* operator new[](std::size_t bytes) { return Allocate(bytes); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Free(memory); }

namespace wendra {
namespace {

constexpr char kFiveServers[] =
    R"({"mcpServers":{"a":{"command":"a.exe"},"b":{"command":"b.exe"},"c":{"command":"c.exe"},)"
    R"("r":{"url":"http://localhost/mcp"},"s":{"url":"http://localhost/mcp"}}})";

class NoLog : public Log {
 public:
  void Line(std::string_view) override {}
  void LineFromAnyThread(std::string_view) override {}
};

class NoTimers : public RequestTimers {
 public:
  bool Start(std::uint64_t, std::uint32_t) override { return true; }
  void Kill(std::uint64_t) override {}
};

void TakeAll(QueueInbox& inbox, McpClient& client) {
  while (const auto message = inbox.Take(0)) {
    if (const auto* text = std::get_if<std::string>(&message->content)) {
      client.OnText(message->server, *text);
    } else if (std::holds_alternative<OutputClosed>(message->content)) {
      client.OnClosed(message->server);
    }
  }
}

size_t CountThreads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

// Replaces the servers by none, waits until only `ownThreads` threads are left, and returns the
// number of allocations that are not freed.
long long AllocationsWithoutServers(QueueInbox& inbox, ScriptedConfig& config, McpClient& client,
                                    size_t ownThreads) {
  const std::string servers = std::exchange(config.text, "{}");
  client.LoadMcpServers();
  const std::uint64_t endMs = ClockMs() + kPatienceMs;
  while (CountThreads() > ownThreads && ClockMs() < endMs) std::this_thread::yield();
  EXPECT_EQ(CountThreads(), ownThreads);
  TakeAll(inbox, client);
  config.text = servers;
  return allocations;
}

TEST(McpClientMemory, KeepsNoMemoryOfServersThatWereReplaced) {
  const size_t ownThreads = CountThreads();
  NoLog log;
  NoTimers timers;
  ScriptedConfig config;
  config.text = kFiveServers;
  ScriptedStarter starter(log);
  starter.keepsChildren = false;
  starter.http =
      std::make_shared<MemoryHttpServer>([](const HttpRequest&, MemoryConnection& connection) {
        connection.Answer("500 No", "", "");
      });
  const auto inbox = std::make_shared<QueueInbox>();
  McpClient client(config, starter, timers, log);
  client.Start(inbox);
  const auto reload = [&] {
    // Each local server has a pending request when it is stopped.
    for (const auto& server : client.Servers()) {
      if (server->Settings().kind == TransportKind::kHttp) continue;
      server->RequestWhenReady(
          "m", Json::Object(), 30, [](const Json&) {}, [](const Json&) {});
    }
    client.LoadMcpServers();
    TakeAll(*inbox, client);
  };
  for (int i = 0; i < 10; ++i) reload();
  const long long before = AllocationsWithoutServers(*inbox, config, client, ownThreads);
  for (int i = 0; i < 10'000; ++i) reload();
  EXPECT_EQ(AllocationsWithoutServers(*inbox, config, client, ownThreads), before);
  client.Stop();
}

}  // namespace
}  // namespace wendra
