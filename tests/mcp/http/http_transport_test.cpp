#include "mcp/http/http_transport.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "base/clock.h"
#include "mcp/http/post.h"
#include "mcp/http/response_body.h"
#include "tests/support/gate.h"
#include "tests/support/memory_http_server.h"
#include "tests/support/patience.h"
#include "tests/support/queue_inbox.h"

namespace wendra {
namespace {

using Messages = std::vector<std::string>;
using Headers = std::vector<std::pair<std::string, std::string>>;

constexpr char kRequest[] = R"({"jsonrpc":"2.0","method":"m","id":"1","params":{}})";
constexpr char kAnswer[] = R"({"jsonrpc":"2.0","id":"1","result":{}})";
constexpr std::string_view kNone = "MCP server returned no response";

std::string ErrorResponse(std::string_view text) {
  return R"({"jsonrpc":"2.0","id":"1","error":{"message":")" + std::string(text) + "\"}}";
}

// The start of an event stream, which ends when the connection is closed.
std::string Stream(std::string_view lines) {
  return "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Type: text/event-stream\r\n\r\n" +
         std::string(lines);
}

constexpr std::string_view kBegin = "begin ";  // before the session id that the server gives
constexpr char kLook[] = "look";

std::string HeaderOf(const HttpRequest& request, std::string_view name) {
  for (const auto& [one, value] : request.headers) {
    if (one == name) return value;
  }
  return {};
}

// One remote server, its transport, and the inbox that its messages go to.
class HttpServer : public testing::Test {
 protected:
  HttpServer() {
    settings_.name = "test";
    settings_.kind = TransportKind::kHttp;
    settings_.url = "http://localhost/mcp";
    settings_.headers = {{"Authorization", "secret"}, {"X-Own", "a"}};
  }
  ~HttpServer() override { Drop(); }

  void Serve(MemoryHttpServer::Handler handler) {
    Drop();
    server_ = std::make_shared<MemoryHttpServer>(
        [this, handler = std::move(handler)](const HttpRequest& request,
                                             MemoryConnection& connection) {
          if (request.body.starts_with(kBegin)) {
            const std::string session = request.body.substr(kBegin.size());
            const std::string header = "Mcp-Session-Id: " + session + "\r\n";
            return (void)connection.Answer("202 Accepted", header, "");
          }
          if (request.body == kLook) return (void)connection.Answer("202 Accepted", "", "");
          // The DELETE comes at the end of a test, when the handler's variables may be gone.
          const bool isForHandler = request.method != "DELETE" || handlesDelete_;
          if (!isForHandler) return (void)connection.Answer("200 OK", "", "");
          handler(request, connection);
        });
    Connect();
  }
  // Makes the server give the host this session id.
  void Begin(const std::string& session) { (void)Notify(std::string(kBegin) + session); }
  // All requests except those of Begin.
  std::vector<HttpRequest> Requests() {
    std::vector<HttpRequest> requests = server_->Requests();
    std::erase_if(requests,
                  [](const HttpRequest& request) { return request.body.starts_with(kBegin); });
    return requests;
  }
  // Sends a notification and returns the value of this header in it.
  std::string NextHeader(std::string_view name) {
    (void)Notify(kLook);
    return HeaderOf(Requests().back(), name);
  }
  void Connect() {
    id_ = ServerId{static_cast<std::uint64_t>(id_) + 1};
    flow_->Open(id_);
    transport_ = std::make_unique<HttpTransport>(id_, settings_, flow_, [server = server_] {
      return std::make_unique<MemoryExchange>(server);
    });
    received_.clear();
    statuses_.clear();
  }
  std::shared_ptr<SessionEnd> Stop() {
    flow_->Close(id_);
    return transport_->Stop();
  }
  // Stops the server, waits for its last thread and drops its last messages. A test calls this at
  // its end if its handler may still use the test's variables.
  void Drop() {
    if (!transport_) return;
    (void)Stop();
    transport_.reset();
    const std::uint64_t endMs = ClockMs() + kPatienceMs;
    while (server_.use_count() > 1 && ClockMs() < endMs) TakeOne(1);
    EXPECT_EQ(server_.use_count(), 1) << "a thread is left";
    while (TakeOne(0)) continue;
    server_.reset();
  }
  void Send(std::string text = kRequest, std::string requestId = "1") {
    (void)transport_->Send(
        {.text = std::move(text), .requestId = std::move(requestId), .timeoutMs = timeoutMs_});
  }
  // Sends a request and returns the first `count` messages that come back.
  Messages Exchange(size_t count = 1) {
    received_.clear();
    Send();
    WaitUntil([=, this] { return received_.size() >= count; });
    if (received_.size() < count) received_.resize(count);  // the test has failed, and goes on
    return received_;
  }
  // Sends a notification and waits for its status.
  std::uint32_t Notify(const std::string& text = "{}") {
    const size_t before = statuses_.size();
    EXPECT_FALSE(transport_->Send({.text = text, .timeoutMs = timeoutMs_, .reportsStatus = true}));
    WaitUntil([=, this] { return statuses_.size() > before; });
    return statuses_.back().status;
  }
  void WaitUntil(const std::function<bool()>& isDone) {
    const std::uint64_t endMs = ClockMs() + kPatienceMs;
    while (!isDone()) {
      ASSERT_LT(ClockMs(), endMs) << "it did not come to that";
      TakeOne(10);
    }
  }
  // Requests of Begin do not count.
  void WaitForRequests(size_t count) {
    WaitUntil([=, this] { return Requests().size() >= count; });
  }

  bool TakeOne(std::uint32_t maxMs) {
    auto message = inbox_->Take(maxMs);
    if (!message) return false;
    const bool isOurs = transport_ && message->server == id_;
    if (auto* text = std::get_if<std::string>(&message->content)) {
      const size_t bytes = text->size();
      if (isOurs) {
        received_.push_back(std::move(*text));
        if (refuses_) transport_->Refuse("no");
      }
      if (isHandling_ || !isOurs) flow_->OnHandled(message->server, bytes);
    }
    if (const auto* status = std::get_if<PostStatus>(&message->content); status && isOurs) {
      if (status->isAwaited) statuses_.push_back(*status);
      if (status->sessionIsOver) received_.push_back("session is over");
    }
    return true;
  }

  ServerSettings settings_;
  Messages received_;
  std::vector<PostStatus> statuses_;
  const std::shared_ptr<QueueInbox> inbox_ = std::make_shared<QueueInbox>();
  const std::shared_ptr<FlowControl> flow_ = std::make_shared<FlowControl>(inbox_);
  ServerId id_{0};
  std::uint32_t timeoutMs_ = 120'000;
  bool isHandling_ = true;
  bool refuses_ = false;  // every message gets a refusal
  bool handlesDelete_ = false;
  std::shared_ptr<MemoryHttpServer> server_;
  std::unique_ptr<Transport> transport_;
};

TEST_F(HttpServer, SendsItsHeadersInOrder) {
  Serve([](const HttpRequest&, MemoryConnection& connection) {
    connection.Answer("200 OK", "Mcp-Session-Id: s1\r\n", kAnswer);
  });
  EXPECT_EQ(Exchange(), Messages{kAnswer});
  transport_->SetProtocolVersion("2025-11-25");
  EXPECT_EQ(Exchange(), Messages{kAnswer});

  const auto requests = Requests();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].method, "POST");
  EXPECT_EQ(requests[0].url, "http://localhost/mcp");
  EXPECT_EQ(requests[0].body, kRequest);
  EXPECT_EQ(requests[0].userAgent, "Wendra-Windows-MCP/1.0");
  EXPECT_EQ(requests[0].headers, (Headers{{"Content-Type", "application/json"},
                                          {"Accept", "application/json, text/event-stream"},
                                          {"Authorization", "secret"},
                                          {"X-Own", "a"}}));
  EXPECT_EQ(requests[1].headers, (Headers{{"Content-Type", "application/json"},
                                          {"Accept", "application/json, text/event-stream"},
                                          {"MCP-Protocol-Version", "2025-11-25"},
                                          {"Mcp-Session-Id", "s1"},
                                          {"Authorization", "secret"},
                                          {"X-Own", "a"}}));
}

TEST_F(HttpServer, MakesAnErrorResponseWhenTheServerGivesNoAnswer) {
  const struct {
    const char* statusLine;
    const char* body;
    std::string_view want;
  } cases[] = {
      {"200 OK", "", kNone},
      {"202 Accepted", "", kNone},
      {"202 Accepted", "null", kNone},
      {"204 No Content", "", kNone},
      {"301 Moved Permanently", "", "HTTP 301"},
      {"302 Found", "", "HTTP 302"},
      {"307 Temporary Redirect", "", "HTTP 307"},
      {"308 Permanent Redirect", "", "HTTP 308"},
      {"400 Bad Request", kAnswer, "HTTP 400"},
      {"401 Unauthorized", "", "HTTP 401"},
      {"403 Forbidden", "", "HTTP 403"},
      {"404 Not Found", "", "HTTP 404"},
      {"405 Method Not Allowed", "", "HTTP 405"},
      {"406 Not Acceptable", "", "HTTP 406"},
      {"429 Too Many Requests", "", "HTTP 429"},
      {"500 Internal Server Error", "", "HTTP 500"},
      {"503 Service Unavailable", "", "HTTP 503"},
  };
  for (const auto& c : cases) {
    Serve([&](const HttpRequest&, MemoryConnection& connection) {
      connection.Answer(c.statusLine, "", c.body);
    });
    EXPECT_EQ(Exchange(), Messages{ErrorResponse(c.want)}) << c.statusLine;
  }
}

TEST_F(HttpServer, MakesAnErrorResponseWhenTheServerCannotBeReached) {
  Serve([](const HttpRequest&, MemoryConnection&) {});
  EXPECT_EQ(Exchange(), Messages{ErrorResponse("request failed (offline?)")});
  server_->GoDown();
  EXPECT_EQ(Exchange(), Messages{ErrorResponse("request failed (offline?)")});
  settings_.url = "ftp://localhost/mcp";
  Serve([](const HttpRequest&, MemoryConnection&) {});
  EXPECT_EQ(Exchange(), Messages{ErrorResponse("invalid URL")});
}

TEST_F(HttpServer, HasAnErrorTextWhenTheReasonIsUnknown) {
  EXPECT_EQ(HttpErrorResponse("1", ""), ErrorResponse("MCP request failed"));
}

TEST_F(HttpServer, DeliversEveryMessageOfABody) {
  const std::string data = std::string("data: ") + kAnswer + "\n";
  const std::string length = std::to_string(std::string_view(kAnswer).size());
  const std::string head = "HTTP/1.1 200 OK\r\nConnection: close\r\n";
  const struct {
    const char* why;
    std::string response;
    Messages want;
  } cases[] = {
      {"JSON",
       head + "Content-Type: application/json\r\nContent-Length: " + length + "\r\n\r\n" + kAnswer,
       {kAnswer}},
      {"JSON without a type", head + "\r\n" + kAnswer, {kAnswer}},
      {"stream", Stream("event: message\nid: 4\n" + data + "\n"), {kAnswer}},
      {"stream without a type", head + "\r\n: hello\nretry: 5\n" + data + "\n", {kAnswer}},
      {"stream of the wrong type",
       head + "Content-Type: application/json\r\n\r\n" + data,
       {kAnswer}},
      {"two messages",
       Stream("data: {\"method\":\"n\"}\n\n" + data),
       {"{\"method\":\"n\"}", kAnswer}},
      {"each answer twice", Stream(data + data), {kAnswer, kAnswer}},
      {"CR LF", Stream(std::string("data:\t ") + kAnswer + "\r\n\r\n"), {kAnswer}},
      {"id after a space", Stream("data: {\"id\": \"1\"}\n"), {"{\"id\": \"1\"}"}},
      {"id as a number", Stream("data: {\"id\":1,\"result\":{}}\n"), {"{\"id\":1,\"result\":{}}"}},
      {"cut short",
       head + "Content-Length: 99\r\n\r\n{\"id\":\"1\",",
       {"{\"id\":\"1\",", ErrorResponse(kNone)}},
      {"no answer",
       Stream("data: {\"method\":\"n\"}\n\n"),
       {"{\"method\":\"n\"}", ErrorResponse(kNone)}},
      {"another's answer",
       Stream("data: {\"id\":\"2\",\"result\":{}}\n"),
       {"{\"id\":\"2\",\"result\":{}}", ErrorResponse(kNone)}},
      {"empty stream", Stream(": nothing\n\ndata:\n\n"), {ErrorResponse(kNone)}},
  };
  for (const auto& c : cases) {
    Serve([&](const HttpRequest&, MemoryConnection& connection) { connection.Send(c.response); });
    EXPECT_EQ(Exchange(c.want.size()), c.want) << c.why;
  }
}

TEST_F(HttpServer, DoesNotWaitForTheEndOfAStreamThatStaysOpen) {
  const std::string large = R"({"id":"1","result":")" + std::string(24'000, 'x') + "\"}";
  Serve([&](const HttpRequest&, MemoryConnection& connection) {
    connection.Send(Stream("data: " + large.substr(0, 9'000)));
    connection.Send(large.substr(9'000) + "\n\n");
    connection.WaitForClose();
  });
  EXPECT_EQ(Exchange(), Messages{large});
}

TEST_F(HttpServer, DeliversARequestOfTheServerDuringACall) {
  Gate answered;
  Serve([&](const HttpRequest& request, MemoryConnection& connection) {
    if (request.body == "reply") {
      connection.Answer("202 Accepted", "", "");
      answered.Open();
      return;
    }
    connection.Send(Stream("data: {\"id\":0,\"method\":\"ping\"}\n\n"));
    (void)answered.Wait();
    connection.Send(std::string("data: ") + kAnswer + "\n\n");
  });
  EXPECT_EQ(Exchange(), Messages{"{\"id\":0,\"method\":\"ping\"}"});
  Send("reply", "");
  WaitUntil([this] { return received_.size() == 2; });
  EXPECT_EQ(received_[1], kAnswer);
}

// The reader waits after so many short messages: 256 KiB, and each message counts 4 KiB.
constexpr size_t kHeldUpAt = 64;

TEST_F(HttpServer, StopsReadingFromAServerThatIsTooFast) {
  constexpr size_t kSpoken = 3 * kHeldUpAt;
  Serve([](const HttpRequest& request, MemoryConnection& connection) {
    if (request.method != "GET") return (void)connection.Answer("202 Accepted", "", "");
    std::string spoken;
    for (size_t i = 0; i < kSpoken; ++i) spoken += "data: " + std::to_string(i) + "\n\n";
    connection.Send(Stream(spoken));
    connection.WaitForClose();
  });
  isHandling_ = false;
  transport_->OnInitialized();
  const auto waitForMessages = [this](size_t count) {
    WaitUntil([=, this] { return received_.size() >= count; });
    (void)Notify();  // during this exchange, messages beyond `count` would arrive
    EXPECT_EQ(received_.size(), count);
  };
  waitForMessages(kHeldUpAt);
  size_t handled = 0;
  const auto handle = [&] { flow_->OnHandled(id_, received_[handled++].size()); };
  while (handled < kHeldUpAt - 1) handle();
  waitForMessages(kHeldUpAt);  // the reader still waits, since one message is not handled
  isHandling_ = true;
  handle();
  WaitUntil([this] { return received_.size() == kSpoken; });
  for (size_t i = 0; i < kSpoken; ++i) EXPECT_EQ(received_[i], std::to_string(i));
}

TEST_F(HttpServer, StopsWhileAReaderWaitsForRoom) {
  std::string spoken;
  for (size_t i = 0; i < 2 * kHeldUpAt; ++i) spoken += "data: {}\n\n";
  Serve([&](const HttpRequest&, MemoryConnection& connection) {
    connection.Send(Stream(spoken));
    connection.WaitForClose();
  });
  isHandling_ = false;
  Begin("s1");
  Send();
  WaitUntil([this] { return received_.size() == kHeldUpAt; });
  EXPECT_TRUE(Stop());
  while (TakeOne(0)) continue;
  EXPECT_EQ(received_.size(), kHeldUpAt);
}

TEST_F(HttpServer, CutsABodyAtEightMebibytes) {
  const std::string_view start = R"({"id":"1","result":")";
  for (const size_t tooManyBytes : {0u, 1u}) {
    std::string body(start);
    body += std::string(ResponseBody::kMaxBytes - start.size() - 2 + tooManyBytes, 'x') + "\"}";
    Serve([&](const HttpRequest&, MemoryConnection& connection) {
      connection.Answer("200 OK", "Content-Type: application/json\r\n", body);
    });
    const Messages got = Exchange(tooManyBytes ? 2 : 1);
    EXPECT_EQ(got[0].size(), ResponseBody::kMaxBytes);
    EXPECT_TRUE(std::string_view(body).starts_with(got[0]));
    if (tooManyBytes) {
      EXPECT_EQ(got[1], ErrorResponse(kNone));
    }
  }
}

TEST_F(HttpServer, KeepsTheSessionIdThatCameLast) {
  std::string header;
  Serve([&](const HttpRequest&, MemoryConnection& connection) {
    connection.Answer("200 OK", header, kAnswer);
  });
  const struct {
    std::string header;
    std::string want;
  } cases[] = {
      {"", ""},
      {"Mcp-Session-Id: a\r\n", "a"},
      {"", "a"},
      {"mcp-session-id: b\r\n", "b"},
      {"Mcp-Session-Id:\r\n", "b"},
      {"Mcp-Session-Id: " + std::string(1024, 'x') + "\r\n", "b"},
      {"Mcp-Session-Id: " + std::string(1023, 'x') + "\r\n", std::string(1023, 'x')},
      {"Mcp-Session-Id: c\r\n", "c"},
  };
  for (const auto& c : cases) {
    header = c.header;
    (void)Exchange();
    EXPECT_EQ(NextHeader("Mcp-Session-Id"), c.want) << c.header;
  }
}

TEST_F(HttpServer, TakesTheSessionIdOfALateResponse) {
  Gate replaced;
  Serve([&](const HttpRequest& request, MemoryConnection& connection) {
    if (request.body == kRequest) (void)replaced.Wait();
    const char* header = request.body == kRequest ? "Mcp-Session-Id: old\r\n" : "";
    connection.Answer("200 OK", header, kAnswer);
  });
  Begin("old");
  Send();
  WaitForRequests(1);
  Begin("new");
  replaced.Open();
  WaitUntil([this] { return !received_.empty(); });
  EXPECT_EQ(NextHeader("Mcp-Session-Id"), "old") << "the last one to come counts";
}

TEST_F(HttpServer, TakesTheSessionIdOfEveryStatus) {
  for (const char* line : {"202 Accepted", "400 Bad Request", "404 Not Found", "503 Busy"}) {
    Serve([=](const HttpRequest& request, MemoryConnection& connection) {
      const char* header = request.body == kRequest ? "Mcp-Session-Id: s1\r\n" : "";
      connection.Answer(line, header, "");
    });
    (void)Exchange();
    EXPECT_EQ(NextHeader("Mcp-Session-Id"), "s1") << line;
  }
}

TEST_F(HttpServer, ForgetsASessionThatTheServerDoesNotKnow) {
  Serve([](const HttpRequest&, MemoryConnection& connection) {
    connection.Answer("404 Not Found", "", "");
  });
  Begin("s1");
  transport_->SetProtocolVersion("2025-11-25");
  EXPECT_EQ(Exchange(2), (Messages{"session is over", ErrorResponse("HTTP 404")}));
  EXPECT_EQ(NextHeader("Mcp-Session-Id"), "");
  EXPECT_EQ(NextHeader("MCP-Protocol-Version"), "");
}

TEST_F(HttpServer, ForgetsItsSessionWhenToldTo) {
  Serve([](const HttpRequest&, MemoryConnection& connection) {
    connection.Answer("202 Accepted", "", "");
  });
  Begin("s1");
  transport_->SetProtocolVersion("2025-11-25");
  transport_->ForgetSession();
  EXPECT_EQ(NextHeader("Mcp-Session-Id"), "");
  EXPECT_EQ(NextHeader("MCP-Protocol-Version"), "");
}

TEST_F(HttpServer, ForgetsNoSessionThatHasBeenReplaced) {
  Gate replaced;
  Serve([&](const HttpRequest& request, MemoryConnection& connection) {
    if (request.body == kRequest) (void)replaced.Wait();
    connection.Answer("404 Not Found", "", "");
  });
  Begin("old");
  Send();
  WaitForRequests(1);
  Begin("new");
  transport_->SetProtocolVersion("2025-11-25");
  replaced.Open();
  WaitUntil([this] { return !received_.empty(); });
  EXPECT_EQ(received_, Messages{ErrorResponse("HTTP 404")});
  EXPECT_EQ(NextHeader("Mcp-Session-Id"), "new");
  EXPECT_EQ(NextHeader("MCP-Protocol-Version"), "2025-11-25");
}

TEST_F(HttpServer, KeepsItsSessionAfterEveryOtherFailure) {
  for (const char* line : {"400 Bad Request", "401 Unauthorized", "500 Internal Server Error"}) {
    Serve(
        [=](const HttpRequest&, MemoryConnection& connection) { connection.Answer(line, "", ""); });
    Begin("s1");
    EXPECT_EQ(Exchange(), Messages{ErrorResponse("HTTP " + std::string(line, 3))});
    EXPECT_EQ(NextHeader("Mcp-Session-Id"), "s1");
  }
}

TEST_F(HttpServer, ReportsTheStatusOfAMessage) {
  const struct {
    const char* line;
    std::uint32_t status;
  } cases[] = {{"202 Accepted", 202}, {"404 Not Found", 404}, {"500 Internal Server Error", 500}};
  for (const auto& c : cases) {
    Serve([&](const HttpRequest&, MemoryConnection& connection) {
      connection.Answer(c.line, "", "");
    });
    EXPECT_EQ(Notify(), c.status);
    EXPECT_EQ(received_, Messages()) << c.line;
  }
  Serve([](const HttpRequest&, MemoryConnection& connection) {
    connection.Send(Stream(": stays open\n\n"));
    connection.WaitForClose();
  });
  EXPECT_EQ(Notify(), 200u);
  Serve([](const HttpRequest&, MemoryConnection&) {});  // no status at all
  EXPECT_EQ(Notify(), 0u);
  server_->GoDown();
  EXPECT_EQ(Notify(), 0u);
  EXPECT_EQ(received_, Messages());
}

// Comments keep the stream alive, so only the time-out of the request ends it.
TEST_F(HttpServer, GivesUpARequestWhoseStreamGoesOn) {
  std::atomic<bool> hasGone = false;
  Serve([&](const HttpRequest&, MemoryConnection& connection) {
    connection.Send(Stream(": comment\n\n"));
    while (connection.Send(": comment\n\n")) std::this_thread::yield();
    hasGone = true;
  });
  timeoutMs_ = 300;
  Send();
  WaitUntil([&] { return hasGone.load(); });
  EXPECT_EQ(received_, Messages());
}

TEST_F(HttpServer, ReportsStatusZeroForANotificationAfterItsTimeOut) {
  Serve([](const HttpRequest&, MemoryConnection& connection) { connection.WaitForClose(); });
  timeoutMs_ = 300;
  EXPECT_EQ(Notify(), 0u);
}

TEST_F(HttpServer, SendsOneRefusalAtATime) {
  Gate go;
  Serve([&](const HttpRequest& request, MemoryConnection& connection) {
    if (request.body == "0") (void)go.Wait();
    connection.Answer("202 Accepted", "", "");
  });
  for (int i = 0; i < 20; ++i) transport_->Refuse(std::to_string(i));
  WaitForRequests(1);
  (void)Notify();  // overtakes the refusals that wait
  EXPECT_EQ(Requests().size(), 2u);
  go.Open();
  WaitForRequests(21);
  std::string bodies;
  for (const HttpRequest& request : Requests()) bodies += request.body + " ";
  EXPECT_EQ(bodies, "0 {} 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 ");
  Drop();
}

// Reading goes on when the server has taken the refusals.
TEST_F(HttpServer, StopsReadingWhileTheServerTakesNoRefusals) {
  constexpr size_t kPings = 200;
  Gate go;
  Serve([&](const HttpRequest& request, MemoryConnection& connection) {
    if (request.body == "no") {
      (void)go.Wait();
      return (void)connection.Answer("202 Accepted", "", "");
    }
    if (request.body != kRequest) return (void)connection.Answer("202 Accepted", "", "");
    std::string pings;
    for (size_t i = 0; i < kPings; ++i) pings += "data: {}\n";
    connection.Send(Stream(pings + "data: " + kAnswer + "\n"));
    connection.WaitForClose();
  });
  refuses_ = true;
  Send();
  WaitUntil([&] { return received_.size() >= 64; });
  (void)Notify();  // during this exchange, further messages would arrive
  EXPECT_EQ(received_.size(), 64u);
  refuses_ = false;
  go.Open();
  WaitUntil([&] { return received_.size() >= kPings + 1; });
  EXPECT_EQ(received_.back(), kAnswer);
  Drop();
}

// A server that answers refusals with requests must not make the thread of the refusals wait for
// itself.
TEST_F(HttpServer, DropsMessagesThatComeWithARefusalWhenThereIsNoRoom) {
  Serve([](const HttpRequest&, MemoryConnection& connection) {
    std::string pings;
    for (int i = 0; i < 100; ++i) pings += "data: {}\n";
    connection.Send(Stream(pings));
  });
  isHandling_ = false;
  for (int i = 0; i < 3; ++i) transport_->Refuse("no");
  WaitForRequests(3);
  EXPECT_LE(received_.size(), 64u);
  (void)Stop();
}

TEST_F(HttpServer, SendsNoRefusalAfterAStop) {
  Serve([](const HttpRequest&, MemoryConnection& connection) { connection.WaitForClose(); });
  for (int i = 0; i < 10; ++i) transport_->Refuse("no");
  WaitForRequests(1);
  (void)Stop();
  transport_->Refuse("no");
  transport_.reset();
  // The thread of the refusals releases it last.
  const std::uint64_t endMs = ClockMs() + kPatienceMs;
  while (flow_.use_count() > 1 && ClockMs() < endMs) std::this_thread::yield();
  EXPECT_EQ(flow_.use_count(), 1);
  EXPECT_EQ(Requests().size(), 1u);
}

TEST_F(HttpServer, ListensOnlyAfterTheHandshake) {
  Serve([](const HttpRequest& request, MemoryConnection& connection) {
    if (request.method != "GET") return (void)connection.Answer("202 Accepted", "", "");
    connection.Send(Stream("id: 1\ndata: {\"method\":\"a\"}\n\ndata:{\"method\":\"b\"}\r\n\r\n"));
    connection.WaitForClose();
  });
  Begin("s1");
  transport_->SetProtocolVersion("2025-11-25");
  (void)Notify();
  EXPECT_EQ(Requests().size(), 1u);
  transport_->OnInitialized();
  WaitUntil([this] { return received_.size() == 2; });
  EXPECT_EQ(received_, (Messages{"{\"method\":\"a\"}", "{\"method\":\"b\"}"}));
  EXPECT_EQ(Requests()[1].headers, (Headers{{"Accept", "text/event-stream"},
                                            {"MCP-Protocol-Version", "2025-11-25"},
                                            {"Mcp-Session-Id", "s1"},
                                            {"Authorization", "secret"},
                                            {"X-Own", "a"}}));
}

TEST_F(HttpServer, ListensAgainAfterTheLastEventOfTheSession) {
  Serve([](const HttpRequest&, MemoryConnection& connection) {
    connection.Send(Stream("id: 7\ndata: {}\n\n"));
  });
  Begin("s1");
  transport_->OnInitialized();
  const std::uint64_t startedMs = ClockMs();
  WaitForRequests(2);
  EXPECT_GE(ClockMs() - startedMs, 1'950u);
  Begin("s2");
  WaitForRequests(3);
  const auto requests = Requests();
  EXPECT_EQ(HeaderOf(requests[0], "Last-Event-ID"), "");
  EXPECT_EQ(HeaderOf(requests[1], "Last-Event-ID"), "7");
  EXPECT_EQ(HeaderOf(requests[2], "Mcp-Session-Id"), "s2");
  EXPECT_EQ(HeaderOf(requests[2], "Last-Event-ID"), "");
}

TEST_F(HttpServer, GoesOnTryingToListen) {
  for (const char* line :
       {"405 Method Not Allowed", "406 Not Acceptable", "500 Internal Server Error"}) {
    Serve([=](const HttpRequest&, MemoryConnection& connection) {
      connection.Answer(line, "Content-Type: text/event-stream\r\n", "data: {}\n\n");
    });
    transport_->OnInitialized();
    WaitForRequests(2);
    EXPECT_EQ(received_, Messages()) << line;
  }
}

TEST_F(HttpServer, EndsTheSessionWithADelete) {
  Serve([](const HttpRequest&, MemoryConnection& connection) {
    connection.Answer("200 OK", "", "");
  });
  Begin("s1");
  transport_->SetProtocolVersion("2025-11-25");
  const auto end = Stop();
  ASSERT_TRUE(end);
  EXPECT_TRUE(end->WaitFor(kPatienceMs));
  ASSERT_EQ(Requests().size(), 1u);
  EXPECT_EQ(Requests()[0].method, "DELETE");
  EXPECT_EQ(Requests()[0].headers,
            (Headers{{"Mcp-Session-Id", "s1"}, {"Authorization", "secret"}, {"X-Own", "a"}}));
}

TEST_F(HttpServer, SendsNoDeleteWithoutASession) {
  Serve([](const HttpRequest&, MemoryConnection& connection) {
    connection.Answer("202 Accepted", "", "");
  });
  (void)Notify();
  EXPECT_FALSE(Stop());
  EXPECT_EQ(Requests().size(), 1u);
}

TEST_F(HttpServer, DoesNotWaitForTheEndOfItsSession) {
  Gate go;
  handlesDelete_ = true;
  Serve([&](const HttpRequest&, MemoryConnection&) { (void)go.Wait(); });
  Begin("s1");
  const auto end = Stop();
  ASSERT_TRUE(end);
  EXPECT_FALSE(end->WaitFor(0));
  go.Open();
  EXPECT_TRUE(end->WaitFor(kPatienceMs)) << "a server that gives no status has been told too";
}

TEST_F(HttpServer, StopsWithTenCallsInFlightAndAListener) {
  Serve([](const HttpRequest&, MemoryConnection& connection) { connection.WaitForClose(); });
  transport_->OnInitialized();
  for (int i = 0; i < 10; ++i) Send();
  WaitForRequests(11);
  (void)Stop();
  EXPECT_TRUE(transport_->Send({.text = kRequest, .requestId = "1", .reportsStatus = true}));
  while (TakeOne(0)) continue;
  EXPECT_EQ(received_, Messages());
  EXPECT_EQ(Requests().size(), 11u);
}

}  // namespace
}  // namespace wendra
