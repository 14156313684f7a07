// The interface for one HTTP request and its response. The program implements it with WinHTTP
// (win/winhttp_exchange.h); tests play a server in memory (tests/support/memory_http_server.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/outcome.h"

namespace wendra {

struct HttpTimeouts {  // in milliseconds
  int resolveMs;
  int connectMs;
  int sendMs;
  int receiveMs;  // for the response's headers, and again for each chunk of its body
};

enum class HttpRedirects {
  // WinHTTP's own rules: to any host, but not from https to http. The new request has all headers
  // of the old one.
  kAnywhere,
  // Only to the same scheme, host and port, at most ten times, and only where the same request is
  // to be sent again: 307 and 308, for GET also 301, 302 and 303. Any other redirect is not
  // followed: the caller gets it as the response.
  kSameOrigin,
};

struct HttpRequest {
  std::string url;
  std::string method = "GET";
  std::string userAgent;
  HttpTimeouts timeouts{};
  // Sent in this order. A header whose name or value holds a control character is left out: a line
  // break in it would end the header, and the rest would become a header or a request of its own.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  HttpRedirects redirects = HttpRedirects::kSameOrigin;
  // In milliseconds, for the whole exchange from Send on; 0: no limit. A call that has to wait
  // longer than that fails: the exchange is overdue then.
  std::uint32_t limitMs = 0;
};

// One worker thread calls all functions but Abort. Send, WaitForChunk and ReadChunk wait. After
// Abort, after a failure and once the exchange is overdue, these three fail at once.
class HttpExchange {
 public:
  virtual ~HttpExchange() = default;

  // Sends the request and waits for the headers of the response. Returns the status, or one of
  // these errors: "invalid URL", "WinHttpOpen failed", "connect failed", "request failed",
  // "request failed (offline?)". A URL is also invalid if its host name is longer than 254
  // characters, or its path with the query longer than 4,094. Call it once.
  virtual Outcome<std::uint32_t> Send(HttpRequest request) = 0;

  // A header of the response, after Send has succeeded. Nothing if the header is missing or its
  // value is longer than 1,023 characters.
  virtual std::optional<std::string> ResponseHeader(std::string_view name) const = 0;

  // Waits for the next chunk of the body, after Send has succeeded. Returns its size in bytes; 0 at
  // the end of the body and when it fails.
  virtual std::size_t WaitForChunk() = 0;

  // Asks for the next chunk and does not wait: the chunk can arrive while the caller handles the
  // last one. The next WaitForChunk then waits for this chunk. Call it only when more bytes are
  // certain to come: otherwise Wine keeps the connection open until receiveMs is over.
  virtual void AskForChunk() = 0;

  // Reads `bytes` bytes of the body; at most as many as the last WaitForChunk has returned. "" when
  // reading fails. The view is valid until the next ReadChunk.
  virtual std::string_view ReadChunk(std::size_t bytes) = 0;

  // Makes the worker's call that waits, and every later one, fail at once. Any thread, any number
  // of times.
  virtual void Abort() = 0;

  // Whether the exchange has failed because the request's limit was over.
  virtual bool IsOverdue() const = 0;
};

using MakeHttpExchange = std::function<std::unique_ptr<HttpExchange>()>;  // any thread

}  // namespace wendra
