#include "win/winhttp_exchange.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/http_test_server_win.h"
#include "win/unique.h"
#include "tests/support/patience.h"

namespace wendra {
namespace {

constexpr HttpTimeouts kTimeouts{8000, 8000, 30'000, 30'000};
using Headers = std::vector<std::pair<std::string, std::string>>;

HttpRequest Request(std::string url, std::string method = "GET") {
  HttpRequest request;
  request.url = std::move(url);
  request.method = std::move(method);
  request.userAgent = "test/1.0";
  request.timeouts = kTimeouts;
  return request;
}

std::string ReadBody(WinHttpExchange& exchange) {
  std::string body;
  while (const size_t bytes = exchange.WaitForChunk()) body += exchange.ReadChunk(bytes);
  return body;
}

// The same, but asks for each next chunk before it uses the last one.
std::string ReadBodyAhead(WinHttpExchange& exchange) {
  std::string body;
  while (const size_t bytes = exchange.WaitForChunk()) {
    const std::string_view chunk = exchange.ReadChunk(bytes);
    exchange.AskForChunk();
    body += chunk;
  }
  return body;
}

// The response as one text: the status, a space and the body; or the error.
std::string Exchanged(HttpRequest request, std::string (*readBody)(WinHttpExchange&) = ReadBody) {
  WinHttpExchange exchange;
  const auto status = exchange.Send(std::move(request));
  if (!status) return status.Error();
  return std::to_string(status.Value()) + " " + readBody(exchange);
}

HttpTestServer::Handler Answering(std::string statusLine, std::string headers = {},
                                  std::string body = {}) {
  return [=](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Answer(statusLine, headers, body);
  };
}

TEST(HttpRequest, SendsWhatItIsGiven) {
  HttpTestServer server(Answering("200 OK", {}, "yes"));
  HttpRequest request = Request(server.Url("/a/b?c=d&e"), "POST");
  request.headers = {{"X-First", "1"}, {"Accept", "a, b"}, {"X-First", "2"}, {"X-Name", "Müller"}};
  request.body = "{\"a\":1}";
  EXPECT_EQ(Exchanged(std::move(request)), "200 yes");

  ASSERT_EQ(server.Requests().size(), 1u);
  const HttpTestRequest got = server.Requests().front();
  EXPECT_EQ(got.verb, "POST");
  EXPECT_EQ(got.path, "/a/b?c=d&e");
  EXPECT_EQ(got.body, "{\"a\":1}");
  EXPECT_EQ(got.Header("User-Agent"), "test/1.0");
  EXPECT_EQ(got.Header("Content-Length"), "7");
  Headers own;
  for (const auto& header : got.headers) {
    if (header.first[0] == 'X' || header.first == "Accept") own.push_back(header);
  }
  EXPECT_EQ(own.size(), 4u);
  EXPECT_EQ(own[0], Headers::value_type("X-First", "1"));
  EXPECT_EQ(own[1], Headers::value_type("Accept", "a, b"));
  EXPECT_EQ(own[2], Headers::value_type("X-First", "2"));
  EXPECT_EQ(own[3].first, "X-Name");
}

TEST(HttpRequest, GivesEveryStatusAsItIs) {
  for (const char* line :
       {"200 OK", "202 Accepted", "304 Not Modified", "400 Bad Request", "401 Unauthorized",
        "403 Forbidden", "404 Not Found", "405 Method Not Allowed", "429 Too Many Requests",
        "500 Internal Server Error", "503 Service Unavailable"}) {
    HttpTestServer server(Answering(line));
    EXPECT_EQ(Exchanged(Request(server.Url())), std::string(line, 3) + " ") << line;
    EXPECT_EQ(server.Requests().size(), 1u) << line;
  }
}

TEST(HttpRequest, ReadsABodyHoweverItIsFramed) {
  const std::string big(3'000'000, 'x');
  const struct {
    const char* why;
    std::string answer;
    std::string want;
  } cases[] = {
      {"length", "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nabc", "200 abc"},
      {"until the end", "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nabc", "200 abc"},
      {"chunks",
       "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nab\r\n1\r\nc\r\n0\r\n\r\n",
       "200 abc"},
      {"none", "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n", "200 "},
      {"no content", "HTTP/1.1 204 No Content\r\n\r\n", "204 "},
      {"large", "HTTP/1.1 200 OK\r\nContent-Length: 3000000\r\n\r\n" + big, "200 " + big},
      {"cut short", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nabc", "200 abc"},
      {"compressed although not asked for",
       "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 3\r\n\r\nabc", "200 abc"},
  };
  for (const auto& c : cases) {
    HttpTestServer server(
        [&](const HttpTestRequest&, HttpTestConnection& connection) { connection.Send(c.answer); });
    EXPECT_EQ(Exchanged(Request(server.Url())), c.want) << c.why;
    EXPECT_EQ(Exchanged(Request(server.Url()), ReadBodyAhead), c.want) << c.why;
  }
}

TEST(HttpRequest, LetsTheCallerStopInTheMiddleOfAChunk) {
  HttpTestServer server(Answering("200 OK", {}, "abcdef"));
  WinHttpExchange exchange;
  ASSERT_TRUE(static_cast<bool>(exchange.Send(Request(server.Url()))));
  std::string body;
  while (body.size() < 4 && exchange.WaitForChunk() > 0) body += exchange.ReadChunk(1);
  EXPECT_EQ(body, "abcd");
}

TEST(HttpRequest, ReadsAHeaderOfAtMost1023Characters) {
  const struct {
    std::string header;
    std::optional<std::string> want;
  } cases[] = {
      {"", {}},
      {"Mcp-Session-Id: abc\r\n", "abc"},
      {"mcp-session-id: " + std::string(1023, 'x') + "\r\n", std::string(1023, 'x')},
      {"Mcp-Session-Id: " + std::string(1024, 'x') + "\r\n", {}},
      {"Mcp-Session-Id: " + std::string(2048, 'x') + "\r\n", {}},
  };
  for (const auto& c : cases) {
    HttpTestServer server(Answering("200 OK", c.header));
    WinHttpExchange exchange;
    ASSERT_TRUE(static_cast<bool>(exchange.Send(Request(server.Url()))));
    EXPECT_EQ(exchange.ResponseHeader("Mcp-Session-Id"), c.want) << c.header;
  }
}

TEST(HttpRequest, GivesAnErrorTextWhenThereIsNoResponse) {
  std::string closed;
  {
    HttpTestServer server(Answering("200 OK"));
    closed = server.Url();
  }
  HttpTestServer dropping([](const HttpTestRequest&, HttpTestConnection&) {});
  const struct {
    const char* why;
    std::string url;
    std::string want;
  } cases[] = {
      {"empty", "", "invalid URL"},
      {"no scheme", "localhost/mcp", "invalid URL"},
      {"other scheme", "ftp://localhost/mcp", "invalid URL"},
      {"long host", "http://" + std::string(255, 'a') + "/", "invalid URL"},
      {"long path", "http://localhost/" + std::string(4094, 'a'), "invalid URL"},
      {"refused", closed, "request failed (offline?)"},
      {"dropped", dropping.Url(), "request failed (offline?)"},
      {"unknown host", "http://nowhere.invalid/", "request failed (offline?)"},
  };
  for (const auto& c : cases) EXPECT_EQ(Exchanged(Request(c.url)), c.want) << c.why;
}

TEST(HttpRequest, SendsALongPathWithItsQuery) {
  HttpTestServer server(Answering("200 OK"));
  const std::string path = "/" + std::string(4000, 'a') + "?" + std::string(92, 'b');
  EXPECT_EQ(Exchanged(Request(server.Url(path))), "200 ");
  EXPECT_EQ(server.Requests().front().path, path);
}

TEST(HttpRequest, IsSentAgainAfterARedirectWithinTheOrigin) {
  const struct {
    const char* method;
    const char* statusLine;
    const char* location;
    const char* want;  // the path of the second request; "" if the redirect is the response
  } cases[] = {
      {"POST", "307 Temporary Redirect", "/new?a=b", "/new?a=b"},
      {"POST", "308 Permanent Redirect", "new", "/dir/new"},
      {"POST", "308 Permanent Redirect", "../new", "/new"},
      {"POST", "301 Moved Permanently", "/new", ""},
      {"POST", "302 Found", "/new", ""},
      {"POST", "303 See Other", "/new", ""},
      {"POST", "300 Multiple Choices", "/new", ""},
      {"DELETE", "307 Temporary Redirect", "/new", "/new"},
      {"DELETE", "302 Found", "/new", ""},
      {"GET", "301 Moved Permanently", "/new", "/new"},
      {"GET", "302 Found", "/new", "/new"},
      {"GET", "303 See Other", "/new", "/new"},
      {"GET", "307 Temporary Redirect", "/new", "/new"},
      {"GET", "308 Permanent Redirect", "/new", "/new"},
      {"GET", "304 Not Modified", "/new", ""},
  };
  for (const auto& c : cases) {
    HttpTestServer server([&](const HttpTestRequest& request, HttpTestConnection& connection) {
      if (request.path != "/dir/old") return (void)connection.Answer("200 OK", {}, "new");
      connection.Answer(c.statusLine, "Location: " + std::string(c.location) + "\r\n", "");
    });
    HttpRequest request = Request(server.Url("/dir/old"), c.method);
    request.headers = {{"Authorization", "secret"}};
    if (*c.method == L'P') request.body = "body";
    const std::string got = Exchanged(std::move(request));
    const auto requests = server.Requests();
    if (!*c.want) {
      EXPECT_EQ(got, std::string(c.statusLine, 3) + " ") << c.statusLine;
      EXPECT_EQ(requests.size(), 1u) << c.statusLine;
      continue;
    }
    EXPECT_EQ(got, "200 new") << c.statusLine;
    ASSERT_EQ(requests.size(), 2u) << c.statusLine;
    EXPECT_EQ(requests[1].verb, requests[0].verb) << c.statusLine;
    EXPECT_EQ(requests[1].path, c.want) << c.statusLine;
    EXPECT_EQ(requests[1].body, requests[0].body) << c.statusLine;
    EXPECT_EQ(requests[1].Header("Authorization"), "secret") << c.statusLine;
  }
}

TEST(HttpRequest, SendsItsHeadersToNoOtherOrigin) {
  HttpTestServer other(Answering("200 OK"));
  for (const char* method : {"GET", "POST", "DELETE"}) {
    for (const char* statusLine : {"301 Moved Permanently", "302 Found", "303 See Other",
                                   "307 Temporary Redirect", "308 Permanent Redirect"}) {
      std::string location;
      HttpTestServer server([&](const HttpTestRequest&, HttpTestConnection& connection) {
        connection.Answer(statusLine, "Location: " + location + "\r\n", "");
      });
      const std::string port = server.Url("", "").substr(std::string_view("http://").size());
      for (const std::string& target :
           {other.Url(), server.Url("/mcp", "127.0.0.1"), "//127.0.0.1" + port + "/mcp",
            "https://localhost" + port + "/mcp", std::string("ftp://localhost/"),
            std::string("http://")}) {
        location = target;
        const size_t before = server.Requests().size();
        HttpRequest request = Request(server.Url(), method);
        request.headers = {{"Authorization", "secret"}};
        EXPECT_EQ(Exchanged(std::move(request)), std::string(statusLine, 3) + " ")
            << statusLine << " to " << target;
        EXPECT_EQ(server.Requests().size(), before + 1) << statusLine << " to " << target;
      }
    }
  }
  EXPECT_TRUE(other.Requests().empty());
}

TEST(HttpRequest, FollowsAtMostTenRedirects) {
  HttpTestServer server(Answering("307 Temporary Redirect", "Location: /mcp\r\n"));
  EXPECT_EQ(Exchanged(Request(server.Url())), "307 ");
  EXPECT_EQ(server.Requests().size(), 11u);
}

TEST(HttpRequest, FollowsARedirectToAnyHostIfAllowed) {
  HttpTestServer other(Answering("200 OK", {}, "there"));
  HttpTestServer server(Answering("302 Found", "Location: " + other.Url("/feed") + "\r\n"));
  HttpRequest request = Request(server.Url());
  request.redirects = HttpRedirects::kAnywhere;
  EXPECT_EQ(Exchanged(std::move(request)), "200 there");
  ASSERT_EQ(other.Requests().size(), 1u);
  EXPECT_EQ(other.Requests().front().path, "/feed");
}

// After a failed read, Debian's Wine announces 3 GB of body, and reading them ends the program.
TEST(WinHttpExchange, ReadsNoMoreOfARequestThatHasFailed) {
  HttpTestServer server([](const HttpTestRequest&, HttpTestConnection& connection) {
    connection.Send(
        "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\nTransfer-Encoding: chunked\r\n\r\n"
        "5\r\nabcde\r\n");
    connection.WaitForClose();
  });
  for (std::string (*read)(WinHttpExchange&) : {ReadBody, ReadBodyAhead}) {
    HttpRequest request = Request(server.Url());
    request.timeouts.receiveMs = 500;
    EXPECT_LE(Exchanged(std::move(request), read).size(), std::string_view("200 abcde").size());
  }
}

TEST(WinHttpExchange, FailsWhenItsLimitIsOver) {
  const struct {
    const char* why;
    std::string beginning;
    const char* want;
  } cases[] = {
      {"no status", "", "request failed (offline?)"},
      {"no end of the body", "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nabc", "200 abc"},
  };
  for (const auto& c : cases) {
    HttpTestServer server([&](const HttpTestRequest&, HttpTestConnection& connection) {
      connection.Send(c.beginning);
      connection.WaitForClose();
    });
    HttpRequest request = Request(server.Url());
    request.limitMs = 300;
    WinHttpExchange exchange;
    EXPECT_FALSE(exchange.IsOverdue());
    const auto status = exchange.Send(std::move(request));
    const std::string got =
        status ? std::to_string(status.Value()) + " " + ReadBody(exchange) : status.Error();
    EXPECT_EQ(got, c.want) << c.why;
    EXPECT_TRUE(exchange.IsOverdue()) << c.why;
    EXPECT_EQ(exchange.WaitForChunk(), 0u) << c.why;
  }
}

TEST(WinHttpExchange, IsNotOverdueWithinItsLimit) {
  HttpTestServer server(Answering("200 OK", {}, "abc"));
  HttpRequest request = Request(server.Url());
  request.limitMs = 20'000;
  WinHttpExchange exchange;
  EXPECT_TRUE(static_cast<bool>(exchange.Send(std::move(request))));
  EXPECT_EQ(ReadBody(exchange), "abc");
  EXPECT_FALSE(exchange.IsOverdue());
}

// A line break in a header would begin the next header, or the next request.
TEST(HttpRequest, SendsNoHeaderThatHoldsAControlCharacter) {
  HttpTestServer server(Answering("200 OK"));
  HttpRequest request = Request(server.Url(), "POST");
  request.headers = {{"X-A", "1\r\nX-B: 2"},
                     {"X-C", "1\nContent-Length: 3"},
                     {"X-D", std::string("1\0", 2)},
                     {"X-E", "a\tb"},
                     {"X-F\r\nX-G", "1"},
                     {"X-H\x7F", "1"},
                     {"X-Z", "kept"}};
  request.body = "body";
  EXPECT_EQ(Exchanged(std::move(request)), "200 ");
  const auto requests = server.Requests();
  ASSERT_EQ(requests.size(), 1u);
  std::string own;
  for (const auto& [name, value] : requests[0].headers) {
    if (name[0] == 'X') own += name + "=" + value + " ";
  }
  EXPECT_EQ(own, "X-Z=kept ");
  EXPECT_EQ(requests[0].Header("Content-Length"), "4");
}

// An event that one thread reports and another thread waits for. Any thread.
class Happening {
 public:
  void Tell() { SetEvent(event_.Get()); }
  // If the event does not come in time, the test fails, but goes on so that it can end its threads.
  void Await(const char* what) const {
    EXPECT_EQ(WaitForSingleObject(event_.Get(), kPatienceMs), WAIT_OBJECT_0) << "no " << what;
  }

 private:
  const KernelHandle event_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

// A server that takes a request, sends `beginning`, and then sends nothing more.
class SilentServer {
 public:
  explicit SilentServer(std::string beginning = {})
      : server_([this, beginning](const HttpTestRequest&, HttpTestConnection& connection) {
          connection.Send(beginning);
          hasRequest_.Tell();
          connection.WaitForClose();
        }) {}

  std::string Url() const { return server_.Url(); }
  void WaitForRequest() { hasRequest_.Await("request"); }

 private:
  Happening hasRequest_;
  HttpTestServer server_;
};

constexpr char kOpenStream[] = "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\nabc";

TEST(WinHttpExchange, StopsWaitingForHeadersAtOnce) {
  SilentServer server;
  WinHttpExchange exchange;
  std::string error;
  std::thread worker([&] { error = exchange.Send(Request(server.Url())).Error(); });
  server.WaitForRequest();
  exchange.Abort();
  worker.join();
  EXPECT_EQ(error, "request failed (offline?)");
}

TEST(WinHttpExchange, StopsWaitingForTheBodyAtOnce) {
  SilentServer server(kOpenStream);
  WinHttpExchange exchange;
  Happening isThrough;  // the worker has read the bytes that the server has sent
  std::string body;
  std::thread worker([&] {
    EXPECT_TRUE(static_cast<bool>(exchange.Send(Request(server.Url()))));
    while (const size_t bytes = body == "abc" ? 0 : exchange.WaitForChunk()) {
      body += exchange.ReadChunk(bytes);
    }
    isThrough.Tell();
    EXPECT_EQ(exchange.WaitForChunk(), 0u);
  });
  isThrough.Await("end of what there is");
  exchange.Abort();
  worker.join();
  EXPECT_EQ(body, "abc");
}

TEST(WinHttpExchange, FailsAndSendsNothingAfterAnAbort) {
  HttpTestServer server(Answering("200 OK", {}, "abc"));
  WinHttpExchange before;
  before.Abort();
  before.Abort();
  EXPECT_EQ(before.Send(Request(server.Url())).Error(), "request failed (offline?)");
  EXPECT_TRUE(server.Requests().empty());

  WinHttpExchange within;
  ASSERT_TRUE(static_cast<bool>(within.Send(Request(server.Url()))));
  ASSERT_EQ(within.WaitForChunk(), 3u);
  within.Abort();
  EXPECT_EQ(within.ReadChunk(3), "");
  EXPECT_EQ(within.WaitForChunk(), 0u);
  EXPECT_EQ(server.Requests().size(), 1u);  // the exchange aborted before Send has sent nothing
}

// At whatever moment the abort comes, the worker ends, and another exchange gets its own response.
TEST(WinHttpExchange, MayBeAbortedAtAnyMoment) {
  HttpTestServer server([](const HttpTestRequest& request, HttpTestConnection& connection) {
    connection.Answer("200 OK", {}, request.path);
  });
  for (int round = 0; round < 40; ++round) {
    const std::string path = "/" + std::to_string(round);
    WinHttpExchange aborted;
    std::thread worker([&] {
      if (aborted.Send(Request(server.Url("/aborted")))) (void)ReadBody(aborted);
    });
    for (int i = 0; i < round * 20; ++i) SwitchToThread();
    aborted.Abort();
    EXPECT_EQ(Exchanged(Request(server.Url(path))), "200 " + path);
    worker.join();
  }
}

}  // namespace
}  // namespace wendra
