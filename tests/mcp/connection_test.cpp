#include "mcp/connection.h"

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "json/objects.h"
#include "tests/support/recording_log.h"
#include "tests/support/recording_transport.h"

namespace wendra {
namespace {

// Two servers that have been started. `record` holds the messages that are sent, the calls of the
// timers and the replies to requests, in order.
class ConnectionTest : public testing::Test {
 protected:
  using Server = std::shared_ptr<Connection>;

  Server Make(const std::string& name, TransportKind kind, RequestNumbers& requestNumbers) {
    auto transport = std::make_unique<RecordingTransport>(name, record);
    const ServerId id{++lastServerId_};
    transports_[id] = transport.get();
    ServerSettings settings;
    settings.name = name;
    settings.kind = kind;
    return std::make_shared<Connection>(id, settings, std::move(transport), requestNumbers, timers,
                                        log);
  }
  Server Make(const std::string& name, TransportKind kind) { return Make(name, kind, numbers); }

  RecordingTransport& TransportOf(const Server& server) { return *transports_.at(server->Id()); }

  void Ask(const Server& server, const std::string& method) {
    server->SendMcpRequest(method, Json::Object(), 30, [this, method](const Json& reply) {
      record.push_back(method + " = " + ToText(reply));
    });
  }

  void Ensure(const Server& server, const std::string& who) {
    server->EnsureMcpInitialized([this, who](const Json* failure) {
      record.push_back(who + (failure ? " failed " + ToText(*failure) : " goes on"));
    });
  }

  static void Confirm(const Server& server, std::uint32_t status) {
    server->OnPosted({.status = status, .isAwaited = true});
  }

  void OnTimer(std::uint64_t timer) {
    if (!a->OnTimer(timer)) (void)b->OnTimer(timer);
  }

  // Returns the record since the last call.
  Record Taken() { return std::exchange(record, {}); }

  Record record;
  RecordingLog log;
  RecordingTimers timers{record};
  RequestNumbers numbers;

 private:
  std::map<ServerId, RecordingTransport*> transports_;
  std::uint64_t lastServerId_ = 0;

 protected:
  const Server a = Make("a", TransportKind::kStdio);
  const Server b = Make("b", TransportKind::kHttp);
};

constexpr char kInitializeA[] =
    R"(a <- {"jsonrpc":"2.0","method":"initialize","id":"1","params":{"protocolVersion":"2024-11-05","capabilities":{},"clientInfo":{"name":"wendra-windows","version":"0.1.0"}}})";
constexpr char kInitialized[] =
    R"({"jsonrpc":"2.0","method":"notifications/initialized","params":{}})";

TEST_F(ConnectionTest, NumbersTheRequestsOfAllServersAndStartsTheirTimers) {
  Ask(a, "x");
  Ask(b, "y");
  EXPECT_EQ(
      Taken(),
      (Record{R"(a <- {"jsonrpc":"2.0","method":"x","id":"1","params":{}})", "start 101 30000",
              R"(b <- {"jsonrpc":"2.0","method":"y","id":"2","params":{}})", "start 102 30000"}));
  EXPECT_EQ(TransportOf(a).requestIds, Record{"1"});
  b->HandleMcpText(R"({"jsonrpc":"2.0","id":"2","result":{"k":[1,2]}})");
  EXPECT_EQ(Taken(),
            (Record{"kill 102", R"(y = {"jsonrpc":"2.0","id":"2","result":{"k":[1,2]}})"}));
  a->HandleMcpText(R"({"jsonrpc":"2.0","id":"1","error":"no"})");
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(x = {"jsonrpc":"2.0","id":"1","error":"no"})"}));
}

TEST_F(ConnectionTest, TellsResponsesFromOtherMessages) {
  const struct {
    const char* why;
    const char* text;
    bool isResponse;
    const char* sent;  // by the host, in response
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
    RequestNumbers ofItsOwn;
    const Server server = Make("a", TransportKind::kStdio, ofItsOwn);
    bool isAnswered = false;
    server->SendMcpRequest("m", Json::Object(), 1, [&](const Json&) { isAnswered = true; });
    Taken();
    server->HandleMcpText(c.text);
    Record want;
    if (c.isResponse) want.push_back("kill 101");
    if (*c.sent) want.push_back(std::string("a <- ") + c.sent);
    EXPECT_EQ(isAnswered, c.isResponse) << c.why;
    EXPECT_EQ(Taken(), want) << c.why;
  }
}

TEST_F(ConnectionTest, MatchesAResponseOnlyToRequestsOfItsServer) {
  Ask(a, "x");
  Taken();
  b->HandleMcpText(R"({"id":"1"})");
  EXPECT_EQ(Taken(), Record());
  a->HandleMcpText(R"({"id":"1"})");
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(x = {"id":"1"})"}));
}

TEST_F(ConnectionTest, LogsTheMessageOfANotification) {
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
    a->HandleMcpText(c.text);
    EXPECT_EQ(log.lines, c.lines) << c.text;
  }
  EXPECT_EQ(Taken(), Record());
}

TEST_F(ConnectionTest, TimesARequestOutOnce) {
  Ask(a, "x");
  Taken();
  OnTimer(999);
  EXPECT_EQ(Taken(), Record());
  OnTimer(101);
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(x = {"error":{"message":"MCP request timed out"}})"}));
  OnTimer(101);
  a->HandleMcpText(R"({"id":"1","result":{}})");
  EXPECT_EQ(Taken(), Record());
}

TEST_F(ConnectionTest, FailsAllRequestsOfOneServer) {
  Ask(a, "x");
  Ask(b, "y");
  Ask(a, "z");
  Taken();
  a->FailMcpPending("MCP server 'a' exited unexpectedly");
  const std::string reply = R"( = {"error":{"message":"MCP server 'a' exited unexpectedly"}})";
  EXPECT_EQ(Taken(), (Record{"kill 101", "x" + reply, "kill 103", "z" + reply}));
  OnTimer(102);
  EXPECT_EQ(Taken().size(), 2u);
}

TEST_F(ConnectionTest, RepliesAtOnceForAServerThatIsNotRunning) {
  (void)a->Stop();
  EXPECT_EQ(Taken(), Record{"a stopped"});
  Ask(a, "x");
  const std::string reply = R"({"error":{"message":"MCP server 'a' is not running"}})";
  EXPECT_EQ(Taken(), Record{"x = " + reply});
  Ensure(a, "first");
  EXPECT_EQ(Taken(), Record{"first failed " + reply});
  a->HandleMcpText(R"({"id":7,"method":"ping"})");
  EXPECT_EQ(Taken(), Record());
}

TEST_F(ConnectionTest, MakesOneHandshakeForAllCallers) {
  Ensure(a, "first");
  Ensure(a, "second");
  EXPECT_EQ(Taken(), (Record{kInitializeA, "start 101 45000"}));
  a->HandleMcpText(R"({"id":"1","result":{"protocolVersion":"2024-11-05"}})");
  EXPECT_EQ(Taken(), (Record{"kill 101", std::string("a <- ") + kInitialized, "first goes on",
                             "second goes on"}));
  EXPECT_EQ(TransportOf(a).protocolVersion, "2024-11-05");
  Ensure(a, "third");
  EXPECT_EQ(Taken(), Record{"third goes on"});
}

TEST_F(ConnectionTest, AnnouncesTheVersionOfItsTransport) {
  Ensure(b, "first");
  EXPECT_NE(Taken()[0].find(R"("protocolVersion":"2025-11-25")"), std::string::npos);
}

TEST_F(ConnectionTest, CompletesAHandshakeWithoutAVersion) {
  for (const char* reply :
       {R"({"id":"1"})", R"({"id":"1","result":{"protocolVersion":""}})",
        R"({"id":"1","result":{"protocolVersion":5}})", R"({"id":"1","error":"no object"})"}) {
    RequestNumbers ofItsOwn;
    const Server server = Make("c", TransportKind::kStdio, ofItsOwn);
    bool isDone = false;
    server->EnsureMcpInitialized([&](const Json* failure) { isDone = !failure; });
    server->HandleMcpText(reply);
    EXPECT_TRUE(isDone) << reply;
    EXPECT_EQ(TransportOf(server).protocolVersion, "") << reply;
    Taken();
    Ensure(server, "next");
    EXPECT_EQ(Taken(), Record{"next goes on"}) << reply;
  }
}

TEST_F(ConnectionTest, TriesAFailedHandshakeAgain) {
  Ensure(a, "first");
  Ensure(a, "second");
  Taken();
  a->HandleMcpText(R"({"id":"1","error":{"code":-1}})");
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(first failed {"id":"1","error":{"code":-1}})",
                             R"(second failed {"id":"1","error":{"code":-1}})"}));
  Ensure(a, "third");
  EXPECT_EQ(Taken().size(), 2u);
  OnTimer(102);
  EXPECT_EQ(Taken().back(), R"(third failed {"error":{"message":"MCP request timed out"}})");
}

TEST_F(ConnectionTest, SendsNothingThatCouldOvertakeTheNotification) {
  TransportOf(b).keepsOrder = false;
  Ensure(b, "first");
  b->HandleMcpText(R"({"id":"1","result":{}})");
  Ensure(b, "second");
  EXPECT_EQ(Taken().back(), std::string("b <- ") + kInitialized);
  Confirm(b, 202);
  EXPECT_EQ(Taken(), (Record{"first goes on", "second goes on"}));
}

TEST_F(ConnectionTest, MakesANewHandshakeAfterTheSessionWasForgotten) {
  Ensure(b, "first");
  b->HandleMcpText(R"({"id":"1"})");
  Taken();
  b->OnPosted({.status = 404, .sessionIsOver = true});
  EXPECT_EQ(Taken(), Record{"b forgot its session"});
  Ensure(b, "next");
  EXPECT_EQ(Taken().size(), 2u);
}

// The status of a refusal, for example, may end the session before the notification has its status.
TEST_F(ConnectionTest, EndsAHandshakeWhoseSessionWasForgottenMeanwhile) {
  TransportOf(b).keepsOrder = false;
  Ensure(b, "first");
  b->HandleMcpText(R"({"id":"1"})");
  b->OnPosted({.status = 404, .sessionIsOver = true});
  Ensure(b, "second");
  Taken();
  Confirm(b, 202);
  EXPECT_EQ(Taken(), (Record{"first goes on", "second goes on"}));
  Ensure(b, "third");
  EXPECT_EQ(Taken().size(), 2u) << "a new handshake";
}

TEST_F(ConnectionTest, FailsAHandshakeWhoseNotificationEndsTheSession) {
  TransportOf(b).keepsOrder = false;
  Ensure(b, "first");
  b->HandleMcpText(R"({"id":"1"})");
  Taken();
  b->OnPosted({.status = 404, .sessionIsOver = true, .isAwaited = true});
  EXPECT_EQ(Taken(),
            (Record{"b forgot its session", R"(first failed {"error":{"message":"HTTP 404"}})"}));
}

TEST_F(ConnectionTest, CallsNoCallbackAtTheEndOfTheProgram) {
  const Server slow = Make("slow", TransportKind::kHttp);
  TransportOf(slow).keepsOrder = false;
  Ensure(slow, "z");
  slow->HandleMcpText(R"({"id":"1"})");
  Ask(a, "x");
  Ensure(b, "y");
  Taken();
  for (const Server& server : {slow, a, b}) server->KillTimers();
  EXPECT_EQ(Taken(), (Record{"kill 102", "kill 103"}));
  OnTimer(102);
  a->HandleMcpText(R"({"id":"2"})");
  Confirm(slow, 202);
  EXPECT_EQ(Taken(), Record());
}

TEST_F(ConnectionTest, LetsACallbackSendTheNextRequest) {
  int replies = 0;
  std::function<void(const Json&)> again = [&](const Json&) {
    if (++replies < 3) a->SendMcpRequest("m", Json::Object(), 1, again);
  };
  a->SendMcpRequest("m", Json::Object(), 1, again);
  a->FailMcpPending("gone");  // ends the pending request, not the one that the callback sends
  EXPECT_EQ(replies, 1);
  a->HandleMcpText(R"({"id":"2"})");
  OnTimer(103);
  EXPECT_EQ(replies, 3);
}

TEST_F(ConnectionTest, KeepsServersOfOneNameApart) {
  const Server later = Make("a", TransportKind::kStdio);
  Ask(a, "x");
  Ask(later, "y");
  Taken();
  later->HandleMcpText(R"({"id":"1"})");
  EXPECT_EQ(Taken(), Record());
  later->FailMcpPending("gone");
  EXPECT_EQ(Taken(), (Record{"kill 102", R"(y = {"error":{"message":"gone"}})"}));
  a->HandleMcpText(R"({"id":"1"})");
  EXPECT_EQ(Taken(), (Record{"kill 101", R"(x = {"id":"1"})"}));
}

TEST_F(ConnectionTest, EndsRequestsAndHandshakesOfAStoppedServer) {
  Ask(a, "x");
  Ensure(a, "first");
  Ensure(a, "second");
  Ask(b, "other");
  (void)a->Stop();
  Taken();
  a->FailStopped();
  const std::string reply = R"({"error":{"message":"MCP server 'a' was stopped"}})";
  EXPECT_EQ(Taken(), (Record{"kill 101", "x = " + reply, "kill 102", "first failed " + reply,
                             "second failed " + reply}));
  a->FailStopped();
  OnTimer(101);
  OnTimer(102);
  EXPECT_EQ(Taken(), Record());
  Ask(a, "y");
  EXPECT_EQ(Taken(), Record{R"(y = {"error":{"message":"MCP server 'a' is not running"}})"});
}

TEST_F(ConnectionTest, EndsTheWaitForTheNotificationToAStoppedServer) {
  TransportOf(b).keepsOrder = false;
  Ensure(b, "first");
  b->HandleMcpText(R"({"id":"1","result":{}})");
  (void)b->Stop();
  Taken();
  b->FailStopped();
  EXPECT_EQ(Taken(), Record{R"(first failed {"error":{"message":"MCP server 'b' was stopped"}})"});
  Confirm(b, 202);
  EXPECT_EQ(Taken(), Record());
}

TEST_F(ConnectionTest, FailsTheHandshakeOnlyWhenItsNotificationGets404) {
  for (const std::uint32_t status : {404u, 0u, 202u, 400u, 500u}) {
    const Server server = Make("http", TransportKind::kHttp);
    TransportOf(server).keepsOrder = false;
    Ensure(server, "first");
    Ensure(server, "second");
    const std::string id = TransportOf(server).requestIds.at(0);
    server->HandleMcpText(R"({"id":")" + id + R"(","result":{}})");
    Taken();
    Confirm(server, status);
    const std::string failed = R"( failed {"error":{"message":"HTTP 404"}})";
    const Record goOn = {"first goes on", "second goes on"};
    EXPECT_EQ(Taken(), status == 404 ? (Record{"first" + failed, "second" + failed}) : goOn);
    Ensure(server, "next");
    EXPECT_EQ(Taken().size(), status == 404 ? 2u : 1u);
  }
}

TEST_F(ConnectionTest, TellsTheTransportTheTimeOutOfEachMessage) {
  Ensure(b, "first");
  b->HandleMcpText(R"({"id":"1","result":{}})");
  b->SendMcpRequest("m", Json::Object(), 1.5, [](const Json&) {});
  EXPECT_EQ(TransportOf(b).timeoutsMs, (std::vector<std::uint32_t>{45'000, 45'000, 1500}));
}

// The text looks like the response but cannot be parsed. A remote server sends no other response to
// the request; a local server still may.
TEST_F(ConnectionTest, EndsARequestWhenTheResponseOfARemoteServerIsUnusable) {
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
    for (const Server& server : {a, b}) {
      Ask(server, "x");
      const std::string id = TransportOf(server).requestIds.back();
      const auto withId = [&](std::string text) {
        for (size_t at; (at = text.find("ID")) != text.npos;) text.replace(at, 2, id);
        return text;
      };
      Taken();
      server->HandleMcpText(withId(c.text));
      const bool ends = c.ends && server == b;
      EXPECT_EQ(Taken().size(), ends ? 2u : 0u) << c.why;
      server->HandleMcpText(withId(R"({"id":"ID"})"));
      EXPECT_EQ(Taken().size(), ends ? 0u : 2u) << c.why;
    }
  }
}

TEST_F(ConnectionTest, TakesAMessageOfAMillionValues) {
  // Counts the outermost object, the id, the array and the array's values.
  std::string text = R"({"id":"1","result":[0)";
  for (int i = 0; i < 1'000'000 - 4; ++i) text += ",0";
  Ask(a, "x");
  Taken();
  a->HandleMcpText(text + ",0]}");
  EXPECT_EQ(Taken(), Record()) << "one too many";
  a->HandleMcpText(text + "]}");
  EXPECT_EQ(Taken().size(), 2u);
}

TEST_F(ConnectionTest, EndsARequestThatGetsNoTimer) {
  timers.hasTimers = false;
  Ask(a, "x");
  EXPECT_EQ(Taken().back(), R"(x = {"error":{"message":"MCP request failed"}})");
  timers.hasTimers = true;
  a->HandleMcpText(R"({"id":"1"})");
  EXPECT_EQ(Taken(), Record()) << "a response after the end of its request calls no callback";
}

TEST_F(ConnectionTest, RoundsATimeOutDownToWholeMilliseconds) {
  a->SendMcpRequest("m", Json::Object(), 1.9999, [](const Json&) {});
  EXPECT_EQ(Taken().back(), "start 101 1999");
}

TEST_F(ConnectionTest, SendsANotificationWithoutIdAndTimer) {
  EXPECT_TRUE(a->SendMcpNotification("n", Json::Object(), 1000));
  EXPECT_EQ(Taken(), Record{R"(a <- {"jsonrpc":"2.0","method":"n","params":{}})"});
  EXPECT_EQ(TransportOf(a).requestIds, Record{""});
  (void)a->Stop();
  Taken();
  EXPECT_TRUE(a->SendMcpNotification("n", Json::Object(), 1000));
  EXPECT_EQ(Taken(), Record());
}

TEST_F(ConnectionTest, FailsAllCallersWhenTheServerExitsDuringTheHandshake) {
  Ensure(a, "first");
  Ensure(a, "second");
  Taken();
  a->OnClosed();
  EXPECT_EQ(log.lines, Record{"[MCP a] subprocess exited / closed stdout"});
  const std::string reply = R"({"error":{"message":"MCP server 'a' exited unexpectedly"}})";
  EXPECT_EQ(Taken(), (Record{"kill 101", "first failed " + reply, "second failed " + reply}));
}

TEST_F(ConnectionTest, LetsACallerTryAgainRightAfterAFailedHandshake) {
  a->EnsureMcpInitialized([this](const Json*) { Ensure(a, "again"); });
  Ensure(a, "second");
  Taken();
  a->HandleMcpText(R"({"id":"1","error":{}})");
  const Record taken = Taken();
  EXPECT_NE(taken.at(1).find(R"("method":"initialize","id":"2")"), std::string::npos);
  EXPECT_EQ(taken.at(2), "start 102 45000");
  EXPECT_EQ(taken.at(3), R"(second failed {"id":"1","error":{}})");
  a->HandleMcpText(R"({"id":"2"})");
  EXPECT_EQ(Taken().back(), "again goes on");
}

TEST_F(ConnectionTest, RepliesToTheOtherCallersWhenOneStopsTheServer) {
  a->EnsureMcpInitialized([this](const Json*) { (void)a->Stop(); });
  a->EnsureMcpInitialized([this](const Json* failure) {
    EXPECT_FALSE(failure);
    Ask(a, "x");
  });
  a->HandleMcpText(R"({"id":"1"})");
  EXPECT_EQ(Taken().back(), R"(x = {"error":{"message":"MCP server 'a' is not running"}})");
}

TEST_F(ConnectionTest, LetsACallbackEndAllOtherRequests) {
  Ask(b, "y");
  a->SendMcpRequest("m", Json::Object(), 1, [this](const Json&) {
    b->FailMcpPending("gone");
    a->FailMcpPending("gone");
    record.push_back("replaced");
  });
  Ask(a, "x");
  Taken();
  a->HandleMcpText(R"({"id":"2"})");
  const std::string reply = R"( = {"error":{"message":"gone"}})";
  EXPECT_EQ(Taken(),
            (Record{"kill 102", "kill 101", "y" + reply, "kill 103", "x" + reply, "replaced"}));
}

// Responses, time-outs and failures come in random order.
TEST_F(ConnectionTest, EndsEachRequestOnce) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    RequestNumbers ofTheirOwn;
    const Server servers[] = {Make("a", TransportKind::kStdio, ofTheirOwn),
                              Make("b", TransportKind::kStdio, ofTheirOwn)};
    std::vector<int> ends(20);
    for (size_t i = 0; i < ends.size(); ++i) {
      servers[i % 2]->SendMcpRequest("m", Json::Object(), 1,
                                     [&ends, i](const Json&) { ++ends[i]; });
    }
    for (int step = 0; step < 100; ++step) {
      const auto id = random() % ends.size() + 1;
      const Server& server = servers[random() % 2];
      switch (random() % 20) {
        case 0:
          server->FailMcpPending("gone");
          break;
        case 1:
        case 2:
          (void)server->OnTimer(100 + id);
          break;
        default:
          server->HandleMcpText(R"({"id":")" + std::to_string(id) + R"("})");
      }
    }
    for (const Server& server : servers) server->FailMcpPending("end");
    EXPECT_EQ(ends, std::vector<int>(ends.size(), 1));
  }
}

}  // namespace
}  // namespace wendra
