#include "mcp/client.h"

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "base/clock.h"
#include "json/objects.h"
#include "tests/support/patience.h"
#include "tests/support/queue_inbox.h"
#include "tests/support/recording_transport.h"
#include "tests/support/scripted_servers.h"
#include "tests/support/shared_log.h"

namespace wendra {
namespace {

using Lines = std::vector<std::string>;

// A client whose servers the test plays.
class Client : public testing::Test {
 protected:
  Client() {
    starter.http = std::make_shared<MemoryHttpServer>(
        [this](const HttpRequest& request, MemoryConnection& connection) {
          onRequest(request, connection);
        });
  }
  ~Client() override {
    client.Stop();
    client.WaitForSessionEnds();
    starter.http->GoDown();
  }

  void Start(const std::string& servers) {
    config.text = R"({"mcpServers":)" + servers + "}";
    client.Start(inbox);
  }
  void Reload(const std::string& servers) {
    config.text = R"({"mcpServers":)" + servers + "}";
    client.LoadMcpServers();
  }

  std::shared_ptr<Connection> Server(size_t at = 0) { return client.Servers().at(at); }

  // Sends a request; its reply becomes an entry of `replies`.
  void Ask(const std::shared_ptr<Connection>& server) {
    const auto note = [this](const Json& reply) { replies.push_back(ToText(reply)); };
    server->RequestWhenReady("m", Json::Object(), 30, note, note);
  }

  void TakeOne(std::uint32_t maxMs) {
    const auto message = inbox->Take(maxMs);
    if (!message) return;
    if (const auto* text = std::get_if<std::string>(&message->content)) {
      client.OnText(message->server, *text);
    } else if (const auto* status = std::get_if<PostStatus>(&message->content)) {
      client.OnPosted(message->server, *status);
    } else {
      client.OnClosed(message->server);
    }
  }
  void WaitUntil(const std::function<bool()>& isDone) {
    const std::uint64_t endMs = ClockMs() + kPatienceMs;
    while (!isDone()) {
      ASSERT_LT(ClockMs(), endMs) << "it did not come to that";
      TakeOne(10);
    }
  }

  Record timing;
  SharedLog log;
  RecordingTimers timers{timing};
  ScriptedConfig config;
  ScriptedStarter starter{log};
  const std::shared_ptr<QueueInbox> inbox = std::make_shared<QueueInbox>();
  MemoryHttpServer::Handler onRequest = [](const HttpRequest&, MemoryConnection&) {};
  Lines replies;
  McpClient client{config, starter, timers, log};
};

constexpr char kTwoLocal[] = R"({"a":{"command":"a.exe"},"b":{"command":"b.exe"}})";
constexpr char kRemote[] = R"({"r":{"url":"http://localhost/mcp"}})";

TEST_F(Client, LoadsTheListedServersAndLogsIt) {
  const struct {
    const char* config;
    Lines lines;
    size_t servers;
  } cases[] = {
      {"", {"[MCP] could not read config.json — skipping client MCP"}, 0},
      {"[]", {"[MCP] config.json is not a JSON object — skipping client MCP"}, 0},
      {"{", {"[MCP] config.json is not a JSON object — skipping client MCP"}, 0},
      {"{}", {"[MCP] no mcpServers configured"}, 0},
      {R"({"mcpServers":{"x":{"command":"missing"},"y":{"command":"broken"}}})",
       {"[MCP] server 'x': command not found: missing", "[MCP] loaded 1 server(s)"},
       1},
      {R"({"mcpServers":{"r":{"url":"http://localhost/mcp"},"l":{"command":"l.exe"}}})",
       {"[MCP] r -> http://localhost/mcp (http)", "[MCP] loaded 2 server(s)"},
       2},
  };
  client.Start(inbox);
  for (const auto& c : cases) {
    (void)log.Take();
    config.text = c.config;
    client.LoadMcpServers();
    EXPECT_EQ(log.Take(), c.lines) << c.config;
    EXPECT_EQ(client.Servers().size(), c.servers) << c.config;
  }
}

// While the window is being destroyed, the browser control may still dispatch messages.
TEST_F(Client, StartsNothingAfterItHasStopped) {
  Start(kTwoLocal);
  client.Stop();
  (void)log.Take();
  config.text = R"({"mcpServers":{"c":{"command":"c.exe"}}})";
  ++config.time;
  EXPECT_FALSE(client.CheckMcpConfigChanged());
  client.LoadMcpServers();
  EXPECT_EQ(log.Take(), Lines{});
  EXPECT_FALSE(starter.children.contains("c"));
}

TEST_F(Client, TalksToALocalServer) {
  Start(kTwoLocal);
  Ask(Server());
  ScriptedChild& child = starter.children["a"];
  EXPECT_NE(child.input->WaitForBytes(10).find(R"("method":"initialize")"), std::string::npos);
  child.output->Feed("{\"id\":\"1\",\"result\":{}}\n");
  WaitUntil([&] { return timing.size() >= 3; });  // the next request has its timer
  child.output->Feed("{\"id\":\"2\",\"result\":{\"x\":1}}\n");
  WaitUntil([&] { return !replies.empty(); });
  EXPECT_EQ(replies, Lines{R"({"id":"2","result":{"x":1}})"});
}

TEST_F(Client, TalksToARemoteServer) {
  onRequest = [](const HttpRequest& request, MemoryConnection& connection) {
    if (request.method != "POST") return (void)connection.Answer("405 No", "", "");
    Json message;
    (void)Parse(request.body, message);
    const std::string id = TextOf(message, "id");
    if (id.empty()) return (void)connection.Answer("202 Accepted", "", "");
    connection.Answer("200 OK", "Mcp-Session-Id: s\r\n", R"({"id":")" + id + R"(","result":{}})");
  };
  Start(kRemote);
  Ask(Server());
  WaitUntil([&] { return !replies.empty(); });
  EXPECT_EQ(replies, Lines{R"({"id":"2","result":{}})"});
  client.Stop();
  client.WaitForSessionEnds();
  EXPECT_EQ(starter.http->Requests().back().method, "DELETE");
}

TEST_F(Client, EndsTheRequestsOfServersThatItReplaces) {
  Start(kTwoLocal);
  Ask(Server(0));
  Ask(Server(0));
  Ask(Server(1));
  Reload(kTwoLocal);
  const std::string a = R"({"error":{"message":"MCP server 'a' was stopped"}})";
  EXPECT_EQ(replies, (Lines{a, a, R"({"error":{"message":"MCP server 'b' was stopped"}})"}));
  replies.clear();
  Ask(Server(0));
  client.OnTimer(104);
  EXPECT_EQ(replies, Lines());
  client.OnTimer(103);
  EXPECT_EQ(replies, Lines{R"({"error":{"message":"MCP request timed out"}})"});
}

TEST_F(Client, DropsMessagesOfServersThatAreGone) {
  Start(kTwoLocal);
  const ServerId gone = starter.ids["a"];
  starter.children["a"].output->Feed("{\"method\":\"n\",\"params\":{\"message\":\"late\"}}\n");
  Reload(kTwoLocal);
  EXPECT_NE(starter.ids["a"], gone);
  (void)log.Take();
  client.OnClosed(gone);
  client.OnPosted(gone, {.status = 404, .sessionIsOver = true, .isAwaited = true});
  const std::uint64_t endMs = ClockMs() + 50;
  while (ClockMs() < endMs) TakeOne(1);
  EXPECT_EQ(log.Take(), Lines());
  EXPECT_TRUE(Server()->IsRunning());
}

// A stopped server must not be freed before its last callback has returned.
TEST_F(Client, LetsAReplyReloadTheServers) {
  Start(kTwoLocal);
  int ends = 0;
  const auto reload = [&](const Json&) {
    if (++ends == 1) Reload(kTwoLocal);
  };
  for (int i = 0; i < 3; ++i) Server()->SendMcpRequest("m", Json::Object(), 30, reload);
  client.OnTimer(101);
  EXPECT_EQ(ends, 3);
  EXPECT_EQ(client.Servers().size(), 2u);
}

TEST_F(Client, TriesAnUnreadableFileAgain) {
  config.isReadable = false;
  Start(kTwoLocal);
  EXPECT_TRUE(client.Servers().empty());
  EXPECT_FALSE(client.CheckMcpConfigChanged());
  config.isReadable = true;
  EXPECT_TRUE(client.CheckMcpConfigChanged());
  EXPECT_EQ(client.Servers().size(), 2u);
  EXPECT_FALSE(client.CheckMcpConfigChanged());
}

TEST_F(Client, KeepsItsServersWhenTheChangedFileCannotBeUsed) {
  Start(kTwoLocal);
  const ServerId before = starter.ids["a"];
  (void)log.Take();
  ++config.time;
  config.text = "{";
  EXPECT_FALSE(client.CheckMcpConfigChanged());
  ++config.time;
  config.isReadable = false;
  EXPECT_FALSE(client.CheckMcpConfigChanged());
  EXPECT_FALSE(client.CheckMcpConfigChanged());
  const std::string line =
      "[MCP] config.json changed but is not valid JSON - keeping current servers";
  EXPECT_EQ(log.Take(), (Lines{line, line})) << "once for each";
  EXPECT_EQ(starter.ids["a"], before);
}

TEST_F(Client, StopsWithoutCallingAnyCallback) {
  Start(kTwoLocal);
  Ask(Server(0));
  Ask(Server(1));
  timing.clear();
  client.Stop();
  EXPECT_EQ(timing, (Record{"kill 101", "kill 102"}));
  EXPECT_EQ(replies, Lines());
  client.OnTimer(101);
  EXPECT_EQ(replies, Lines());
}

TEST_F(Client, LimitsTheWaitForTheEndsOfSessions) {
  std::atomic<bool> goesOn = true;
  onRequest = [&](const HttpRequest& request, MemoryConnection& connection) {
    if (request.method == "DELETE") {
      while (goesOn) std::this_thread::yield();
      return;
    }
    connection.Answer("200 OK", "Mcp-Session-Id: s\r\n", R"({"id":"1"})");
  };
  Start(kRemote);
  Ask(Server());
  WaitUntil([&] { return timing.size() > 1; });
  client.Stop();
  const std::uint64_t startedMs = ClockMs();
  client.WaitForSessionEnds();
  EXPECT_GE(ClockMs() - startedMs, 1'490u);
  EXPECT_LT(ClockMs() - startedMs, 5'000u);
  goesOn = false;
  client.WaitForSessionEnds();
  starter.http->GoDown();
}

}  // namespace
}  // namespace wendra
