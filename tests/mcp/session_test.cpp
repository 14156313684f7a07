#include "mcp/session.h"

#include <algorithm>
#include <memory>
#include <random>

#include <gtest/gtest.h>

#include "tests/support/recording_log.h"
#include "tests/support/recording_transport.h"

namespace wendra {
namespace {

std::string Text(const Json& value) {
  std::string text;
  Serialize(value, text);
  return text;
}

// A session with two running servers. `record` holds what is sent and what the timers do; the
// replies of requests are noted there too.
class Session : public testing::Test {
 protected:
  Session() {
    MakeRunning(a, "a", TransportKind::kStdio);
    MakeRunning(b, "b", TransportKind::kHttp);
  }

  void MakeRunning(McpServer& server, const std::string& name, TransportKind kind) {
    server.name = name;
    server.kind = kind;
    server.running = true;
    server.transport = std::make_unique<RecordingTransport>(name, record);
  }

  static RecordingTransport& TransportOf(McpServer& server) {
    return static_cast<RecordingTransport&>(*server.transport);
  }

  void Ask(McpServer& server, const std::string& method) {
    session.SendMcpRequest(server, method, Json::Object(), 30, [this, method](const Json& reply) {
      record.push_back(method + " = " + Text(reply));
    });
  }

  void Ensure(McpServer& server, const std::string& who) {
    session.EnsureMcpInitialized(server, [this, who](const Json* failure) {
      record.push_back(who + (failure ? " failed " + Text(*failure) : " goes on"));
    });
  }

  // What has been noted since the last call.
  Record Taken() { return std::exchange(record, {}); }

  Record record;
  McpServer a;
  McpServer b;
  RecordingLog log;
  RecordingTimers timers{record};
  McpSession session{timers, log};
};

constexpr char kInitializeA[] =
    R"(a <- {"jsonrpc":"2.0","method":"initialize","id":"1","params":{"protocolVersion":"2024-11-05","capabilities":{},"clientInfo":{"name":"wendra-windows","version":"0.1.0"}}})";
constexpr char kInitialized[] =
    R"({"jsonrpc":"2.0","method":"notifications/initialized","params":{}})";

TEST_F(Session, NumbersRequestsOfAllServersAndTimesThem) {
  Ask(a, "x");
  Ask(b, "y");
  EXPECT_EQ(
      Taken(),
      (Record{R"(a <- {"jsonrpc":"2.0","method":"x","id":"1","params":{}})", "start 101 30000",
              R"(b <- {"jsonrpc":"2.0","method":"y","id":"2","params":{}})", "start 102 30000"}));
  EXPECT_EQ(TransportOf(a).requestIds, Record{"1"});
  session.HandleMcpText(b, R"({"jsonrpc":"2.0","id":"2","result":{"k":[1,2]}})");
  EXPECT_EQ(Taken(),
            (Record{"kill 102", R"(y = {"jsonrpc":"2.0","id":"2","result":{"k":[1,2]}})"}));
  session.HandleMcpText(a, R"({"jsonrpc":"2.0","id":"1","error":"no"})");
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(x = {"jsonrpc":"2.0","id":"1","error":"no"})"}));
}

TEST_F(Session, TakesAsResponseOnlyWhatIsOne) {
  const struct {
    const char* why;
    const char* text;
    bool isResponse;
    const char* sent;  // in return
  } cases[] = {
      {"a text as id", R"({"id":"1"})", true, ""},
      {"a number as id", R"({"id":1})", true, ""},
      {"whatever else it holds", R"({"id":"1","method":"ping"})", true, ""},
      {"a server's own number", R"({"id":1,"method":"ping"})", false,
       R"({"jsonrpc":"2.0","id":1,"error":{"code":-32601,"message":"Method not found"}})"},
      {"another spelling", R"({"id":1.0})", false, ""},
      {"another id", R"({"id":"2"})", false, ""},
      {"no id", R"({"result":{}})", false, ""},
      {"null", R"({"id":null})", false, ""},
      {"a request", R"({"id":"x","method":"roots/list","params":{}})", false,
       R"({"jsonrpc":"2.0","id":"x","error":{"code":-32601,"message":"Method not found"}})"},
      {"a request with null", R"({"id":null,"method":"m"})", false,
       R"({"jsonrpc":"2.0","id":null,"error":{"code":-32601,"message":"Method not found"}})"},
      {"a notification", R"({"method":"notifications/x"})", false, ""},
      {"no object", R"(["1"])", false, ""},
      {"no JSON", R"({"id":"1")", false, ""},
      {"a number out of range", R"({"id":"1","result":1e400})", false, ""},
      {"nothing", "", false, ""},
  };
  for (const auto& c : cases) {
    McpSession other(timers, log);
    bool isAnswered = false;
    other.SendMcpRequest(a, "m", Json::Object(), 1, [&](const Json&) { isAnswered = true; });
    Taken();
    other.HandleMcpText(a, c.text);
    Record want;
    if (c.isResponse) want.push_back("kill 101");
    if (*c.sent) want.push_back(std::string("a <- ") + c.sent);
    EXPECT_EQ(isAnswered, c.isResponse) << c.why;
    EXPECT_EQ(Taken(), want) << c.why;
  }
}

TEST_F(Session, MatchesAResponseOnlyWithinItsServer) {
  Ask(a, "x");
  Taken();
  session.HandleMcpText(b, R"({"id":"1"})");
  EXPECT_EQ(Taken(), Record());
  session.HandleMcpText(a, R"({"id":"1"})");
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(x = {"id":"1"})"}));
}

TEST_F(Session, LogsTheMessageOfANotification) {
  const struct {
    const char* text;
    Record lines;
  } cases[] = {
      {R"({"method":"n","params":{"message":"grün"}})", {"[MCP a] grün"}},
      {R"({"method":"n","params":{"message":5}})", {}},
      {R"({"method":"n","params":{}})", {}},
      {R"({"method":"n","params":["message"]})", {}},
      {R"({"method":"n"})", {}},
      {R"({"params":{"message":"no method"}})", {}},
  };
  for (const auto& c : cases) {
    log.lines.clear();
    session.HandleMcpText(a, c.text);
    EXPECT_EQ(log.lines, c.lines) << c.text;
  }
  EXPECT_EQ(Taken(), Record());
}

TEST_F(Session, TimesARequestOutOnce) {
  Ask(a, "x");
  Taken();
  session.OnTimer(999);
  EXPECT_EQ(Taken(), Record());
  session.OnTimer(101);
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(x = {"error":{"message":"MCP request timed out"}})"}));
  session.OnTimer(101);
  session.HandleMcpText(a, R"({"id":"1","result":{}})");
  EXPECT_EQ(Taken(), Record());
}

TEST_F(Session, FailsAllRequestsOfOneServer) {
  Ask(a, "x");
  Ask(b, "y");
  Ask(a, "z");
  Taken();
  session.FailMcpPending(a, "MCP server 'a' exited unexpectedly");
  const std::string reply = R"( = {"error":{"message":"MCP server 'a' exited unexpectedly"}})";
  EXPECT_EQ(Taken(), (Record{"kill 101", "x" + reply, "kill 103", "z" + reply}));
  session.OnTimer(102);
  EXPECT_EQ(Taken().size(), 2u);
}

TEST_F(Session, AnswersAtOnceForAServerThatIsNotRunning) {
  a.running = false;
  Ask(a, "x");
  const std::string reply = R"({"error":{"message":"MCP server 'a' is not running"}})";
  EXPECT_EQ(Taken(), Record{"x = " + reply});
  Ensure(a, "first");
  EXPECT_EQ(Taken(), Record{"first failed " + reply});
  session.HandleMcpText(a, R"({"id":7,"method":"ping"})");
  EXPECT_EQ(Taken(), Record());
}

TEST_F(Session, MakesOneHandshakeForAllWhoWait) {
  Ensure(a, "first");
  Ensure(a, "second");
  EXPECT_EQ(Taken(), (Record{kInitializeA, "start 101 45000"}));
  session.HandleMcpText(a, R"({"id":"1","result":{"protocolVersion":"2024-11-05"}})");
  EXPECT_EQ(Taken(), (Record{"kill 101", std::string("a <- ") + kInitialized, "first goes on",
                             "second goes on"}));
  EXPECT_EQ(a.shared.protocolVersion, "2024-11-05");
  Ensure(a, "third");
  EXPECT_EQ(Taken(), Record{"third goes on"});
}

TEST_F(Session, AnnouncesAVersionForEachTransport) {
  Ensure(b, "first");
  EXPECT_NE(Taken()[0].find(R"("protocolVersion":"2025-11-25")"), std::string::npos);
}

TEST_F(Session, TakesAHandshakeWithoutVersionForDone) {
  for (const char* reply :
       {R"({"id":"1"})", R"({"id":"1","result":{"protocolVersion":""}})",
        R"({"id":"1","result":{"protocolVersion":5}})", R"({"id":"1","error":"no object"})"}) {
    McpServer server;
    MakeRunning(server, "c", TransportKind::kStdio);
    McpSession other(timers, log);
    bool isDone = false;
    other.EnsureMcpInitialized(server, [&](const Json* failure) { isDone = !failure; });
    other.HandleMcpText(server, reply);
    EXPECT_TRUE(isDone && server.initialized) << reply;
    EXPECT_EQ(server.shared.protocolVersion, "") << reply;
  }
}

TEST_F(Session, TriesAFailedHandshakeAgain) {
  Ensure(a, "first");
  Ensure(a, "second");
  Taken();
  session.HandleMcpText(a, R"({"id":"1","error":{"code":-1}})");
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(first failed {"id":"1","error":{"code":-1}})",
                             R"(second failed {"id":"1","error":{"code":-1}})"}));
  EXPECT_FALSE(a.initialized);
  Ensure(a, "third");
  EXPECT_EQ(Taken().size(), 2u);
  session.OnTimer(102);
  EXPECT_EQ(Taken().back(), R"(third failed {"error":{"message":"MCP request timed out"}})");
}

TEST_F(Session, SendsNothingThatCouldOvertakeTheNotification) {
  TransportOf(b).keepsOrder = false;
  Ensure(b, "first");
  session.HandleMcpText(b, R"({"id":"1","result":{}})");
  Ensure(b, "second");
  EXPECT_EQ(Taken().back(), std::string("b <- ") + kInitialized);
  TransportOf(b).held.at(0)(202);
  EXPECT_EQ(Taken(), (Record{"first goes on", "second goes on"}));
}

TEST_F(Session, MakesANewHandshakeAfterASessionThatWasForgotten) {
  b.initialized = true;
  b.shared.sessionId = "s";
  b.shared.protocolVersion = "v";
  session.ForgetSession(b);
  EXPECT_EQ(b.shared.sessionId + b.shared.protocolVersion, "");
  Ensure(b, "next");
  EXPECT_EQ(Taken().size(), 2u);
}

TEST_F(Session, CallsNobodyAtTheEndOfTheProgram) {
  McpServer slow;
  MakeRunning(slow, "slow", TransportKind::kHttp);
  TransportOf(slow).keepsOrder = false;
  Ensure(slow, "z");
  session.HandleMcpText(slow, R"({"id":"1"})");
  Ask(a, "x");
  Ensure(b, "y");
  Taken();
  session.KillTimers();
  EXPECT_EQ(Taken(), (Record{"kill 102", "kill 103"}));
  session.OnTimer(102);
  session.HandleMcpText(a, R"({"id":"2"})");
  TransportOf(slow).held.at(0)(202);
  EXPECT_EQ(Taken(), Record());
}

TEST_F(Session, LetsAReplyAskAgain) {
  int replies = 0;
  std::function<void(const Json&)> again = [&](const Json&) {
    if (++replies < 3) session.SendMcpRequest(a, "m", Json::Object(), 1, again);
  };
  session.SendMcpRequest(a, "m", Json::Object(), 1, again);
  session.FailMcpPending(a, "gone");  // ends the one there is, not the one that comes of it
  EXPECT_EQ(replies, 1);
  session.HandleMcpText(a, R"({"id":"2"})");
  session.OnTimer(103);
  EXPECT_EQ(replies, 3);
}

TEST_F(Session, KeepsRecordsOfOneNameApart) {
  McpServer later;
  MakeRunning(later, "a", TransportKind::kStdio);
  Ask(a, "x");
  Ask(later, "y");
  Taken();
  session.HandleMcpText(later, R"({"id":"1"})");
  EXPECT_EQ(Taken(), Record());
  session.FailMcpPending(later, "gone");
  EXPECT_EQ(Taken(), (Record{"kill 102", R"(y = {"error":{"message":"gone"}})"}));
  session.HandleMcpText(a, R"({"id":"1"})");
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(x = {"id":"1"})"}));
}

TEST_F(Session, EndsWhatWaitsForAStoppedServer) {
  Ask(a, "x");
  Ensure(a, "first");
  Ensure(a, "second");
  Ask(b, "other");
  Taken();
  a.running = false;
  session.OnStopped(a);
  const std::string reply = R"({"error":{"message":"MCP server 'a' was stopped"}})";
  EXPECT_EQ(Taken(), (Record{"kill 101", "x = " + reply, "kill 102", "first failed " + reply,
                             "second failed " + reply}));
  session.OnStopped(a);
  session.OnTimer(101);
  session.OnTimer(102);
  EXPECT_EQ(Taken(), Record());
  Ask(a, "y");
  EXPECT_EQ(Taken(), Record{R"(y = {"error":{"message":"MCP server 'a' is not running"}})"});
}

TEST_F(Session, EndsWhatWaitsForTheNotificationOfAStoppedServer) {
  TransportOf(b).keepsOrder = false;
  Ensure(b, "first");
  session.HandleMcpText(b, R"({"id":"1","result":{}})");
  Taken();
  b.running = false;
  session.OnStopped(b);
  EXPECT_EQ(Taken(), Record{R"(first failed {"error":{"message":"MCP server 'b' was stopped"}})"});
  TransportOf(b).held.at(0)(202);
  EXPECT_EQ(Taken(), Record());
}

TEST_F(Session, FailsWhoWaitsWhenTheNotificationIsNotFound) {
  for (const std::uint32_t status : {404u, 0u, 202u, 400u, 500u}) {
    McpServer server;
    MakeRunning(server, "http", TransportKind::kHttp);
    TransportOf(server).keepsOrder = false;
    Ensure(server, "first");
    Ensure(server, "second");
    const std::string id = TransportOf(server).requestIds.at(0);
    session.HandleMcpText(server, R"({"id":")" + id + R"(","result":{}})");
    Taken();
    TransportOf(server).held.at(0)(status);
    const std::string failed = R"( failed {"error":{"message":"HTTP 404"}})";
    const Record goOn = {"first goes on", "second goes on"};
    EXPECT_EQ(Taken(), status == 404 ? (Record{"first" + failed, "second" + failed}) : goOn);
    EXPECT_EQ(server.initialized, status != 404);
  }
}

TEST_F(Session, TellsTheTransportHowLongAMessageMatters) {
  Ensure(b, "first");
  session.HandleMcpText(b, R"({"id":"1","result":{}})");
  session.SendMcpRequest(b, "m", Json::Object(), 1.5, [](const Json&) {});
  EXPECT_EQ(TransportOf(b).timeoutsMs, (std::vector<std::uint32_t>{45'000, 45'000, 1500}));
}

// What would be the answer if it could be read. Nothing else comes for it from a remote server; a
// local one may still answer.
TEST_F(Session, EndsARequestOfARemoteServerWhoseAnswerIsUnusable) {
  std::string manyValues = R"({"jsonrpc":"2.0","id":"ID","result":[0)";
  for (int i = 0; i < 1'000'000; ++i) manyValues += ",0";
  const struct {
    const char* why;
    std::string text;
    bool ends;
  } cases[] = {
      {"broken value", R"({"id":"ID","result":nothing})", true},
      {"number out of range", R"({"id":"ID","result":1e400})", true},
      {"too many values", manyValues + "]}", true},
      {"not whole", R"({"id":"ID","result":)", false},
      {"of another request", R"({"id":"IDx","result":nothing})", false},
      {"no object", R"(nothing)", false},
      {"array", R"([{"id":"ID"},nothing])", false},
  };
  for (const auto& c : cases) {
    for (McpServer* server : {&a, &b}) {
      Ask(*server, "x");
      const std::string id = TransportOf(*server).requestIds.back();
      const auto withId = [&](std::string text) {
        for (size_t at; (at = text.find("ID")) != text.npos;) text.replace(at, 2, id);
        return text;
      };
      Taken();
      session.HandleMcpText(*server, withId(c.text));
      const bool ends = c.ends && server == &b;
      EXPECT_EQ(Taken().size(), ends ? 2u : 0u) << c.why;
      session.HandleMcpText(*server, withId(R"({"id":"ID"})"));
      EXPECT_EQ(Taken().size(), ends ? 0u : 2u) << c.why;
    }
  }
}

TEST_F(Session, TakesAMessageOfAMillionValues) {
  // The outermost object, the id, the array and what is in it.
  std::string text = R"({"id":"1","result":[0)";
  for (int i = 0; i < 1'000'000 - 4; ++i) text += ",0";
  Ask(a, "x");
  Taken();
  session.HandleMcpText(a, text + ",0]}");
  EXPECT_EQ(Taken(), Record()) << "one too many";
  session.HandleMcpText(a, text + "]}");
  EXPECT_EQ(Taken().size(), 2u);
}

TEST_F(Session, EndsARequestThatGetsNoTimer) {
  timers.hasTimers = false;
  Ask(a, "x");
  EXPECT_EQ(Taken().back(), R"(x = {"error":{"message":"MCP request failed"}})");
  timers.hasTimers = true;
  session.HandleMcpText(a, R"({"id":"1"})");
  EXPECT_EQ(Taken(), Record()) << "an answer that comes all the same finds nobody";
}

TEST_F(Session, CutsATimeOutToWholeMilliseconds) {
  session.SendMcpRequest(a, "m", Json::Object(), 1.9999, [](const Json&) {});
  EXPECT_EQ(Taken().back(), "start 101 1999");
}

TEST_F(Session, SendsANotificationWithoutIdAndTimer) {
  const auto notify = [&] {
    session.SendMcpNotification(a, "n", Json::Object(), 1000,
                                [&](std::uint32_t) { record.push_back("sent"); });
  };
  notify();
  EXPECT_EQ(Taken(), (Record{R"(a <- {"jsonrpc":"2.0","method":"n","params":{}})", "sent"}));
  EXPECT_EQ(TransportOf(a).requestIds, Record{""});
  a.running = false;
  notify();
  EXPECT_EQ(Taken(), Record{"sent"}) << "who waits for it goes on";
}

TEST_F(Session, FailsAllWhoWaitWhenTheServerExitsDuringTheHandshake) {
  Ensure(a, "first");
  Ensure(a, "second");
  Taken();
  a.running = false;
  session.FailMcpPending(a, "MCP server 'a' exited unexpectedly");
  const std::string reply = R"({"error":{"message":"MCP server 'a' exited unexpectedly"}})";
  EXPECT_EQ(Taken(), (Record{"kill 101", "first failed " + reply, "second failed " + reply}));
}

TEST_F(Session, LetsWhoWaitedInVainTryAgainAtOnce) {
  session.EnsureMcpInitialized(a, [this](const Json*) { Ensure(a, "again"); });
  Ensure(a, "second");
  Taken();
  session.HandleMcpText(a, R"({"id":"1","error":{}})");
  const Record taken = Taken();
  EXPECT_NE(taken.at(1).find(R"("method":"initialize","id":"2")"), std::string::npos);
  EXPECT_EQ(taken.at(2), "start 102 45000");
  EXPECT_EQ(taken.at(3), R"(second failed {"id":"1","error":{}})");
  session.HandleMcpText(a, R"({"id":"2"})");
  EXPECT_EQ(Taken().back(), "again goes on");
}

TEST_F(Session, AnswersTheOthersWhenOneWhoWaitedStopsTheServer) {
  session.EnsureMcpInitialized(a, [this](const Json*) { a.running = false; });
  session.EnsureMcpInitialized(a, [this](const Json* failure) {
    EXPECT_FALSE(failure);
    Ask(a, "x");
  });
  session.HandleMcpText(a, R"({"id":"1"})");
  EXPECT_EQ(Taken().back(), R"(x = {"error":{"message":"MCP server 'a' is not running"}})");
}

TEST_F(Session, LetsAReplyReplaceAllServers) {
  Ask(b, "y");
  session.SendMcpRequest(a, "m", Json::Object(), 1, [this](const Json&) {
    session.FailMcpPending(b, "gone");
    session.FailMcpPending(a, "gone");
    record.push_back("replaced");
  });
  Ask(a, "x");
  Taken();
  session.HandleMcpText(a, R"({"id":"2"})");
  const std::string reply = R"( = {"error":{"message":"gone"}})";
  EXPECT_EQ(Taken(),
            (Record{"kill 102", "kill 101", "y" + reply, "kill 103", "x" + reply, "replaced"}));
}

// Whatever comes in whatever order, each request ends once.
TEST_F(Session, EndsEachRequestOnce) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    McpSession other(timers, log);
    std::vector<int> ends(20);
    for (size_t i = 0; i < ends.size(); ++i) {
      other.SendMcpRequest(i % 2 ? a : b, "m", Json::Object(), 1,
                           [&ends, i](const Json&) { ++ends[i]; });
    }
    for (int step = 0; step < 100; ++step) {
      const auto id = random() % ends.size() + 1;
      McpServer& server = random() % 2 ? a : b;
      switch (random() % 20) {
        case 0:
          other.FailMcpPending(server, "gone");
          break;
        case 1:
        case 2:
          other.OnTimer(100 + id);
          break;
        default:
          other.HandleMcpText(server, R"({"id":")" + std::to_string(id) + R"("})");
      }
    }
    other.FailMcpPending(a, "end");
    other.FailMcpPending(b, "end");
    EXPECT_EQ(ends, std::vector<int>(ends.size(), 1));
  }
}

}  // namespace
}  // namespace wendra
