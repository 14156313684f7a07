#include "mcp/http/http_transport_win.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "mcp/http/http_post_win.h"
#include "mcp/http/response_body.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/http_test_server_win.h"
#include "tests/support/test_window_win.h"
#include "win/messages.h"
#include "win/owned_message.h"

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

// A response that ends with its connection, or stays open until that is closed.
std::string Stream(std::string_view lines) {
  return "HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Type: text/event-stream\r\n\r\n" +
         std::string(lines);
}

// One remote server, its transport, and the window that its messages go to.
class HttpServer : public testing::Test {
 protected:
  HttpServer()
      : window_([this](UINT message, WPARAM wparam, LPARAM lparam) {
          if (message == kMcpMessage) {
            EXPECT_EQ(wparam, reinterpret_cast<WPARAM>(&record_));
            sessionIdAtMessage_ = record_.shared.sessionId;
            received_.push_back(*TakeOwned<std::string>(lparam));
            if (refuses_) record_.transport->Refuse("no");
            if (isHandling_) record_.transport->OnMessageHandled(received_.back().size());
          }
          if (message == kHttpPostedMessage) TakePosted();
        }) {
    record_.name = "test";
    record_.kind = TransportKind::kHttp;
    record_.headers = {{"Authorization", "secret"}, {"X-Own", "a"}};
  }
  ~HttpServer() override {
    if (record_.transport) record_.transport->Stop();
  }

  void TakePosted() {
    for (const HttpPosted& posted : posted_->TakeAll()) {
      EXPECT_EQ(posted.server, &record_);
      if (posted.sessionIsOver) received_.push_back("session is over");
      if (posted.onSent) posted.onSent(posted.status);
    }
  }
  void Serve(HttpTestServer::Handler handler) {
    record_.transport.reset();
    server_.emplace(std::move(handler));
    record_.url = server_->Url();
    record_.transport = MakeHttpTransport(record_, window_.Handle(), backlog_, posted_);
    received_.clear();
  }
  void Send(std::string text = kRequest, std::string requestId = "1") {
    record_.transport->Send({std::move(text), std::move(requestId), timeoutMs_, {}});
  }
  void SendNotification(std::function<void(std::uint32_t)> onSent) {
    record_.transport->Send({"{}", "", timeoutMs_, std::move(onSent)});
  }
  // What comes back for one request, up to its answer.
  Messages Exchange(size_t count = 1) {
    received_.clear();
    Send();
    WaitUntil([=, this] { return received_.size() >= count; });
    return received_;
  }
  void Notify() {
    bool isSent = false;
    SendNotification([&](std::uint32_t) { isSent = true; });
    WaitUntil([&] { return isSent; });
  }
  static void WaitUntil(const std::function<bool()>& isDone) {
    ASSERT_TRUE(TestWindow::PumpUntil(isDone));
  }
  // Until the server has had so many requests: it tells by a message to the window's thread.
  void WaitForRequests(size_t count) {
    WaitUntil([=, this] { return server_->Requests().size() >= count; });
  }
  std::function<void()> Wake() {
    return [thread = GetCurrentThreadId()] { PostThreadMessageW(thread, WM_NULL, 0, 0); };
  }

  McpServer& record_ = *new McpServer;  // kept for good, as the registry does: see McpServer
  Messages received_;
  std::string sessionIdAtMessage_;
  const std::shared_ptr<Backlog> backlog_ = std::make_shared<Backlog>();
  const std::shared_ptr<HttpPostedQueue> posted_ = std::make_shared<HttpPostedQueue>();
  std::uint32_t timeoutMs_ = 120'000;
  bool isHandling_ = true;
  bool refuses_ = false;  // each message
  const TestWindow window_;
  std::optional<HttpTestServer> server_;
};

// Those that the program adds, in their order.
Headers OwnHeaders(const HttpTestRequest& request) {
  Headers own;
  for (const auto& header : request.headers) {
    const bool isOfWinHttp = header.first == "Connection" || header.first == "Host" ||
                             header.first == "Content-Length" || header.first == "Cache-Control" ||
                             header.first == "Pragma" || header.first == "User-Agent";
    if (!isOfWinHttp) own.push_back(header);
  }
  return own;
}

TEST_F(HttpServer, SendsItsHeadersInOrder) {
  Serve([](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Answer("200 OK", "Mcp-Session-Id: s1\r\n", kAnswer);
  });
  EXPECT_EQ(Exchange(), Messages{kAnswer});
  EXPECT_EQ(sessionIdAtMessage_, "s1");
  record_.shared.protocolVersion = "2025-11-25";
  EXPECT_EQ(Exchange(), Messages{kAnswer});

  const auto requests = server_->Requests();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].verb, "POST");
  EXPECT_EQ(requests[0].path, "/mcp");
  EXPECT_EQ(requests[0].body, kRequest);
  EXPECT_EQ(requests[0].Header("User-Agent"), "Wendra-Windows-MCP/1.0");
  EXPECT_EQ(OwnHeaders(requests[0]), (Headers{{"Content-Type", "application/json"},
                                              {"Accept", "application/json, text/event-stream"},
                                              {"Authorization", "secret"},
                                              {"X-Own", "a"}}));
  EXPECT_EQ(OwnHeaders(requests[1]), (Headers{{"Content-Type", "application/json"},
                                              {"Accept", "application/json, text/event-stream"},
                                              {"MCP-Protocol-Version", "2025-11-25"},
                                              {"Mcp-Session-Id", "s1"},
                                              {"Authorization", "secret"},
                                              {"X-Own", "a"}}));
}

TEST_F(HttpServer, AnswersForAServerThatDoesNot) {
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
    Serve([&](const HttpTestRequest&, HttpTestConnection& connection) {
      connection.Answer(c.statusLine, "", c.body);
    });
    EXPECT_EQ(Exchange(), Messages{ErrorResponse(c.want)}) << c.statusLine;
  }
}

TEST_F(HttpServer, AnswersForAServerThatCannotBeReached) {
  Serve([](const HttpTestRequest&, HttpTestConnection&) {});
  EXPECT_EQ(Exchange(), Messages{ErrorResponse("request failed (offline?)")});
  server_.reset();
  EXPECT_EQ(Exchange(), Messages{ErrorResponse("request failed (offline?)")});
  record_.transport.reset();
  record_.url = "https://" + std::string(255, 'a');
  record_.transport = MakeHttpTransport(record_, window_.Handle(), backlog_, posted_);
  EXPECT_EQ(Exchange(), Messages{ErrorResponse("invalid URL")});
}

TEST_F(HttpServer, SaysSomethingWhenItDoesNotKnowWhy) {
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
      {"id after a blank", Stream("data: {\"id\": \"1\"}\n"), {"{\"id\": \"1\"}"}},
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
    Serve([&](const HttpTestRequest&, HttpTestConnection& connection) {
      connection.Send(c.response);
    });
    EXPECT_EQ(Exchange(c.want.size()), c.want) << c.why;
  }
}

TEST_F(HttpServer, DoesNotWaitOutAStreamThatStaysOpen) {
  const std::string large = R"({"id":"1","result":")" + std::string(24'000, 'x') + "\"}";
  Serve([&](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Send(Stream("data: " + large.substr(0, 9'000)));
    connection.Send(large.substr(9'000) + "\n\n");
    connection.WaitForClose();
  });
  EXPECT_EQ(Exchange(), Messages{large});
}

TEST_F(HttpServer, HandsOverAQuestionInTheMiddleOfACall) {
  HANDLE answered = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  Serve([&](const HttpTestRequest& request, HttpTestConnection& connection) {
    if (request.body == "reply") {
      connection.Answer("202 Accepted", "", "");
      SetEvent(answered);
      return;
    }
    connection.Send(Stream("data: {\"id\":0,\"method\":\"ping\"}\n\n"));
    WaitForSingleObject(answered, INFINITE);
    connection.Send(std::string("data: ") + kAnswer + "\n\n");
  });
  EXPECT_EQ(Exchange(), Messages{"{\"id\":0,\"method\":\"ping\"}"});
  Send("reply", "");
  WaitUntil([this] { return received_.size() == 2; });
  EXPECT_EQ(received_[1], kAnswer);
  CloseHandle(answered);
}

constexpr size_t kHeldUpAt = 64;  // short messages: 256 KiB, each with 4 KiB for itself

TEST_F(HttpServer, HoldsUpAServerThatSpeaksFasterThanItIsHeard) {
  constexpr size_t kSpoken = 3 * kHeldUpAt;
  Serve([](const HttpTestRequest& request, HttpTestConnection& connection) {
    if (request.verb != "GET") return (void)connection.Answer("202 Accepted", "", "");
    std::string spoken;
    for (size_t i = 0; i < kSpoken; ++i) spoken += "data: " + std::to_string(i) + "\n\n";
    connection.Send(Stream(spoken));
    connection.WaitForClose();
  });
  isHandling_ = false;
  record_.transport->OnInitialized();
  const auto waitForMessages = [this](size_t count) {
    WaitUntil([=, this] { return received_.size() >= count; });
    Notify();  // whatever might come too would be here by now
    EXPECT_EQ(received_.size(), count);
  };
  waitForMessages(kHeldUpAt);
  size_t handled = 0;
  const auto handle = [&] { record_.transport->OnMessageHandled(received_[handled++].size()); };
  while (handled < kHeldUpAt - 1) handle();
  waitForMessages(kHeldUpAt);  // not before the window is through with all of them
  isHandling_ = true;
  handle();
  WaitUntil([this] { return received_.size() == kSpoken; });
  for (size_t i = 0; i < kSpoken; ++i) EXPECT_EQ(received_[i], std::to_string(i));
}

TEST_F(HttpServer, StopsWhileAServerIsHeldUp) {
  std::string spoken;
  for (size_t i = 0; i < 2 * kHeldUpAt; ++i) spoken += "data: {}\n\n";
  Serve([&](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Send(Stream(spoken));
    connection.WaitForClose();
  });
  isHandling_ = false;
  record_.shared.sessionId = "s1";
  bool isSent = false;
  record_.transport->Send({kRequest, "1", timeoutMs_, [&](std::uint32_t) { isSent = true; }});
  WaitUntil([this] { return received_.size() == kHeldUpAt; });
  record_.transport->Stop();
  WaitUntil([&] { return isSent; });
  EXPECT_EQ(received_.size(), kHeldUpAt);
}

TEST_F(HttpServer, CutsABodyAtEightMebibytes) {
  const std::string_view start = R"({"id":"1","result":")";
  for (const size_t tooManyBytes : {0u, 1u}) {
    std::string body(start);
    body += std::string(ResponseBody::kMaxBytes - start.size() - 2 + tooManyBytes, 'x') + "\"}";
    Serve([&](const HttpTestRequest&, HttpTestConnection& connection) {
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
  Serve([&](const HttpTestRequest&, HttpTestConnection& connection) {
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
    EXPECT_EQ(record_.shared.sessionId, c.want) << c.header;
  }
  EXPECT_EQ(server_->Requests().back().Header("Mcp-Session-Id"), std::string(1023, 'x'));
}

TEST_F(HttpServer, TakesTheSessionIdOfALateResponse) {
  Serve([&](const HttpTestRequest&, HttpTestConnection& connection) {
    record_.shared.sessionId = "new";  // by another thread, while this request was on its way
    connection.Answer("200 OK", "Mcp-Session-Id: old\r\n", kAnswer);
  });
  record_.shared.sessionId = "old";
  (void)Exchange();
  EXPECT_EQ(record_.shared.sessionId, "old") << "the last one to come counts";
}

TEST_F(HttpServer, TakesTheSessionIdOfEveryStatus) {
  for (const char* line : {"202 Accepted", "400 Bad Request", "404 Not Found", "503 Busy"}) {
    Serve([=](const HttpTestRequest&, HttpTestConnection& connection) {
      connection.Answer(line, "Mcp-Session-Id: s1\r\n", "");
    });
    record_.shared.sessionId.clear();
    (void)Exchange();
    EXPECT_EQ(record_.shared.sessionId, "s1") << line;
  }
}

TEST_F(HttpServer, ForgetsASessionThatTheServerDoesNotKnow) {
  Serve([](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Answer("404 Not Found", "", "");
  });
  record_.shared.sessionId = "s1";
  record_.shared.protocolVersion = "2025-11-25";
  EXPECT_EQ(Exchange(2), (Messages{"session is over", ErrorResponse("HTTP 404")}));
  EXPECT_EQ(record_.shared.sessionId, "");
  EXPECT_EQ(record_.shared.protocolVersion, "");
}

TEST_F(HttpServer, ForgetsNoSessionThatHasBeenReplaced) {
  Serve([&](const HttpTestRequest&, HttpTestConnection& connection) {
    record_.shared.sessionId = "new";
    connection.Answer("404 Not Found", "", "");
  });
  record_.shared.sessionId = "old";
  record_.shared.protocolVersion = "2025-11-25";
  EXPECT_EQ(Exchange(), Messages{ErrorResponse("HTTP 404")});
  EXPECT_EQ(record_.shared.sessionId, "new");
  EXPECT_EQ(record_.shared.protocolVersion, "2025-11-25");
}

TEST_F(HttpServer, KeepsItsSessionWithEveryOtherFailure) {
  for (const char* line : {"400 Bad Request", "401 Unauthorized", "500 Internal Server Error"}) {
    Serve([=](const HttpTestRequest&, HttpTestConnection& connection) {
      connection.Answer(line, "", "");
    });
    record_.shared.sessionId = "s1";
    EXPECT_EQ(Exchange(), Messages{ErrorResponse("HTTP " + std::string(line, 3))});
    EXPECT_EQ(record_.shared.sessionId, "s1");
    record_.shared.sessionId.clear();
  }
}

TEST_F(HttpServer, SaysThatAMessageIsSentOnceItHasItsStatus) {
  for (const char* line : {"202 Accepted", "404 Not Found", "500 Internal Server Error"}) {
    Serve([=](const HttpTestRequest&, HttpTestConnection& connection) {
      connection.Answer(line, "", "");
    });
    Notify();
    EXPECT_EQ(received_, Messages()) << line;
  }
  Serve([](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Send(Stream(": stays open\n\n"));
    connection.WaitForClose();
  });
  Notify();
  Serve([](const HttpTestRequest&, HttpTestConnection&) {});  // no status at all
  Notify();
  server_.reset();
  Notify();
  EXPECT_EQ(received_, Messages());
}

// Comments keep a stream alive, so no other time-out ends it.
TEST_F(HttpServer, GivesARequestUpWhoseStreamGoesOn) {
  std::atomic<bool> hasGone = false;
  Serve([&, wake = Wake()](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Send(Stream(": comment\n\n"));
    while (connection.Send(": comment\n\n")) continue;
    hasGone = true;
    wake();
  });
  timeoutMs_ = 300;
  Send();
  WaitUntil([&] { return hasGone.load(); });
  EXPECT_EQ(received_, Messages());
}

TEST_F(HttpServer, SaysThatANotificationIsThroughAfterItsTime) {
  Serve([](const HttpTestRequest&, HttpTestConnection& connection) { connection.WaitForClose(); });
  timeoutMs_ = 300;
  std::optional<std::uint32_t> sent;
  SendNotification([&](std::uint32_t status) { sent = status; });
  WaitUntil([&] { return sent.has_value(); });
  EXPECT_EQ(sent, 0u);
}

TEST_F(HttpServer, SendsOneRefusalAtATime) {
  const KernelHandle go(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  Serve([&, wake = Wake()](const HttpTestRequest& request, HttpTestConnection& connection) {
    wake();
    if (request.body == "0") WaitForSingleObject(go.Get(), INFINITE);
    connection.Answer("202 Accepted", "", "");
  });
  for (int i = 0; i < 20; ++i) record_.transport->Refuse(std::to_string(i));
  WaitForRequests(1);
  Notify();  // overtakes them all
  EXPECT_EQ(server_->Requests().size(), 2u);
  SetEvent(go.Get());
  WaitForRequests(21);
  std::string bodies;
  for (const HttpTestRequest& request : server_->Requests()) bodies += request.body + " ";
  EXPECT_EQ(bodies, "0 {} 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 ");
}

// Reading pauses, and goes on when the refusals are through.
TEST_F(HttpServer, ReadsNoFurtherWhileItsRefusalsAreNotTaken) {
  constexpr size_t kPings = 200;
  const KernelHandle go(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  Serve([&](const HttpTestRequest& request, HttpTestConnection& connection) {
    if (request.body == "no") {
      WaitForSingleObject(go.Get(), INFINITE);
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
  Notify();  // a whole exchange later there is still no more
  EXPECT_EQ(received_.size(), 64u);
  refuses_ = false;
  SetEvent(go.Get());
  WaitUntil([&] { return received_.size() >= kPings + 1; });
  EXPECT_EQ(received_.back(), kAnswer);
}

// A server that answers refusals with questions must not make the one thread wait for itself.
TEST_F(HttpServer, DropsWhatComesWithARefusalWhenThereIsNoRoom) {
  Serve([wake = Wake()](const HttpTestRequest&, HttpTestConnection& connection) {
    std::string pings;
    for (int i = 0; i < 100; ++i) pings += "data: {}\n";
    connection.Send(Stream(pings));
    wake();
  });
  isHandling_ = false;
  for (int i = 0; i < 3; ++i) record_.transport->Refuse("no");
  WaitForRequests(3);
  EXPECT_LE(received_.size(), 64u);
  record_.transport->Stop();
}

TEST_F(HttpServer, SendsNoRefusalAfterAStop) {
  Serve([wake = Wake()](const HttpTestRequest&, HttpTestConnection& connection) {
    wake();
    connection.WaitForClose();
  });
  for (int i = 0; i < 10; ++i) record_.transport->Refuse("no");
  WaitForRequests(1);
  record_.transport->Stop();
  record_.transport->Refuse("no");
  record_.transport.reset();
  // The last thread to let go of the backlog is that of the refusals.
  const ULONGLONG end = GetTickCount64() + 20'000;
  while (backlog_.use_count() > 1 && GetTickCount64() < end) SwitchToThread();
  EXPECT_EQ(backlog_.use_count(), 1);
  EXPECT_EQ(server_->Requests().size(), 1u);
  server_.reset();
}

TEST_F(HttpServer, SendsNoHeaderWithAControlCharacter) {
  record_.headers = {{"X-A", "1\r\nX-Injected: yes"}, {"X-B\n", "2"}, {"X-C", "3"}};
  Serve([](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Answer("200 OK", "", kAnswer);
  });
  record_.shared.protocolVersion = "1\nHost: internal.test";
  record_.shared.sessionId = "s\nContent-Length: 3";
  EXPECT_EQ(Exchange(), Messages{kAnswer});
  const HttpTestRequest got = server_->Requests().front();
  EXPECT_EQ(OwnHeaders(got), (Headers{{"Content-Type", "application/json"},
                                      {"Accept", "application/json, text/event-stream"},
                                      {"X-C", "3"}}));
  EXPECT_TRUE(got.Header("Host").starts_with("localhost:")) << got.Header("Host");
  EXPECT_EQ(got.body, kRequest);
}

TEST_F(HttpServer, ListensOnlyAfterTheHandshake) {
  Serve([wake = Wake()](const HttpTestRequest& request, HttpTestConnection& connection) {
    if (request.verb != "GET") return (void)connection.Answer("202 Accepted", "", "");
    connection.Send(Stream("id: 1\ndata: {\"method\":\"a\"}\n\ndata:{\"method\":\"b\"}\r\n\r\n"));
    wake();
    connection.WaitForClose();
  });
  record_.shared.sessionId = "s1";
  record_.shared.protocolVersion = "2025-11-25";
  Notify();
  EXPECT_EQ(server_->Requests().size(), 1u);
  record_.transport->OnInitialized();
  WaitUntil([this] { return received_.size() == 2; });
  EXPECT_EQ(received_, (Messages{"{\"method\":\"a\"}", "{\"method\":\"b\"}"}));
  EXPECT_EQ(OwnHeaders(server_->Requests()[1]), (Headers{{"Accept", "text/event-stream"},
                                                         {"MCP-Protocol-Version", "2025-11-25"},
                                                         {"Mcp-Session-Id", "s1"},
                                                         {"Authorization", "secret"},
                                                         {"X-Own", "a"}}));
}

TEST_F(HttpServer, ListensAgainWhereItStopped) {
  Serve([wake = Wake()](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Send(Stream("id: 7\ndata: {}\n\n"));
    wake();
  });
  record_.shared.sessionId = "s1";
  record_.transport->OnInitialized();
  const ULONGLONG startedMs = GetTickCount64();
  WaitForRequests(2);
  EXPECT_GE(GetTickCount64() - startedMs, 1'950u);
  record_.shared.sessionId = "s2";
  WaitForRequests(3);
  const auto requests = server_->Requests();
  EXPECT_EQ(requests[0].Header("Last-Event-ID"), "");
  EXPECT_EQ(requests[1].Header("Last-Event-ID"), "7");
  EXPECT_EQ(requests[2].Header("Mcp-Session-Id"), "s2");
  EXPECT_EQ(requests[2].Header("Last-Event-ID"), "");
}

TEST_F(HttpServer, GoesOnTryingToListen) {
  for (const char* line :
       {"405 Method Not Allowed", "406 Not Acceptable", "500 Internal Server Error"}) {
    Serve([=, wake = Wake()](const HttpTestRequest&, HttpTestConnection& connection) {
      connection.Answer(line, "Content-Type: text/event-stream\r\n", "data: {}\n\n");
      wake();
    });
    record_.transport->OnInitialized();
    WaitForRequests(2);
    EXPECT_EQ(received_, Messages()) << line;
  }
}

TEST_F(HttpServer, EndsTheSessionWithADelete) {
  Serve([wake = Wake()](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Answer("200 OK", "", "");
    wake();
  });
  record_.shared.sessionId = "s1";
  record_.shared.protocolVersion = "2025-11-25";
  record_.transport->Stop();
  record_.transport->WaitForFarewell(INFINITE);
  ASSERT_EQ(server_->Requests().size(), 1u);
  EXPECT_EQ(server_->Requests()[0].verb, "DELETE");
  EXPECT_EQ(OwnHeaders(server_->Requests()[0]),
            (Headers{{"Mcp-Session-Id", "s1"}, {"Authorization", "secret"}, {"X-Own", "a"}}));
}

TEST_F(HttpServer, SendsNoDeleteWithoutASession) {
  Serve([](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Answer("202 Accepted", "", "");
  });
  Notify();
  record_.transport->Stop();
  record_.transport->WaitForFarewell(INFINITE);
  EXPECT_EQ(server_->Requests().size(), 1u);
}

TEST_F(HttpServer, GivesAFarewellNoMoreThanItsTime) {
  Serve([](const HttpTestRequest&, HttpTestConnection& connection) { connection.WaitForClose(); });
  record_.shared.sessionId = "s1";
  const ULONGLONG startedMs = GetTickCount64();
  record_.transport->Stop();
  record_.transport->WaitForFarewell(50);
  EXPECT_LT(GetTickCount64() - startedMs, 2'000u);
}

TEST_F(HttpServer, StopsWithTenCallsInFlightAndAListener) {
  Serve([wake = Wake()](const HttpTestRequest&, HttpTestConnection& connection) {
    wake();
    connection.WaitForClose();
  });
  record_.transport->OnInitialized();
  int sent = 0;
  for (int i = 0; i < 10; ++i) {
    record_.transport->Send({kRequest, "1", timeoutMs_, [&](std::uint32_t) { ++sent; }});
  }
  WaitForRequests(11);
  record_.transport->Stop();
  record_.transport->Send(
      {kRequest, "1", timeoutMs_, [&](std::uint32_t) { ++sent; }});  // at once, and nothing is sent
  WaitUntil([&] { return sent == 11; });
  EXPECT_EQ(received_, Messages());
  EXPECT_EQ(server_->Requests().size(), 11u);
}

// The handles of this process after `round`, without those of the server, which keeps a thread for
// each connection until its end.
long long HandlesAfter(const std::function<void()>& round) {
  round();
  return CountHandles(GetCurrentProcessId());
}

TEST_F(HttpServer, LeavesNoThreadBehind) {
  const auto exchangeMany = [this] {
    Serve([](const HttpTestRequest&, HttpTestConnection& connection) {
      connection.Answer("200 OK", "", kAnswer);
    });
    for (int i = 0; i < 50; ++i) EXPECT_EQ(Exchange(), Messages{kAnswer});
    server_.reset();
  };
  const long long handlesBefore = HandlesAfter(exchangeMany);
  EXPECT_LE(HandlesAfter(exchangeMany), handlesBefore + 8);
}

TEST_F(HttpServer, LetsGoOfAFarewellThatIsOver) {
  std::vector<std::unique_ptr<Transport>> stopped;
  const auto stopMany = [&] {
    Serve([](const HttpTestRequest&, HttpTestConnection& connection) {
      connection.Answer("200 OK", "", "");
    });
    record_.shared.sessionId = "s1";
    for (int i = 0; i < 50; ++i) {
      stopped.push_back(MakeHttpTransport(record_, window_.Handle(), backlog_, posted_));
      stopped.back()->Stop();
      stopped.back()->WaitForFarewell(INFINITE);
    }
    server_.reset();
  };
  const long long handlesBefore = HandlesAfter(stopMany);
  EXPECT_LE(HandlesAfter(stopMany), handlesBefore + 8);
}

}  // namespace
}  // namespace wendra
