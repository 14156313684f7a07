// One HTTP request and its response, as the code that decides what to send sees it. The program
// uses WinHTTP (win/winhttp_exchange.h); tests use scripts of bytes and faults.
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
  // WinHTTP's own rules: to any host, but not from https to http. All headers go along.
  kAnywhere,
  // Only to the same scheme, host and port, at most ten times, and only as the same request again:
  // 307 and 308, for GET also 301, 302 and 303. Any other redirect is the response.
  kSameOrigin,
};

struct HttpRequest {
  std::string url;
  std::string method = "GET";
  std::string userAgent;
  HttpTimeouts timeouts{};
  // Sent in this order. A header whose name or value holds a control character is not sent: it
  // would end its line, and the text after it would be the next header or the next request.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  HttpRedirects redirects = HttpRedirects::kSameOrigin;
  // In milliseconds, for the whole exchange from Send on; 0: no limit. At the limit the exchange is
  // overdue, and every call that waits in it fails.
  std::uint32_t limitMs = 0;
};

// One worker thread calls everything but Abort, and waits in Send, WaitForChunk and ReadChunk.
// After Abort, after a failure and after the request's limit every call fails at once.
class HttpExchange {
 public:
  virtual ~HttpExchange() = default;

  // Sends and waits for the response's headers: its status, or "invalid URL", "WinHttpOpen failed",
  // "connect failed", "request failed", "request failed (offline?)". Host names longer than 254 and
  // paths with their query longer than 4,094 characters are invalid. Once.
  virtual Outcome<std::uint32_t> Send(HttpRequest request) = 0;

  // After Send has succeeded: a header of the response. Nothing if it is missing or longer than
  // 1,023 characters.
  virtual std::optional<std::string> ResponseHeader(std::string_view name) const = 0;

  // After Send has succeeded: waits for the next chunk of the body and returns its size in bytes; 0
  // at the end, after a failure and after Abort.
  virtual std::size_t WaitForChunk() = 0;

  // Asks for the next chunk without waiting, so that it arrives while the caller looks at the last
  // one. The next WaitForChunk only waits then. Only while more bytes are sure to come: Wine keeps
  // a connection that has been asked in vain until the time for receiving is over.
  virtual void AskForChunk() = 0;

  // Reads `bytes` bytes of the chunk that WaitForChunk has returned; "" when that fails. Valid
  // until the next call of it.
  virtual std::string_view ReadChunk(std::size_t bytes) = 0;

  // Ends the waiting of the worker at once, now and later. Any thread, any number of times.
  virtual void Abort() = 0;

  // Whether the request's limit has ended the exchange.
  virtual bool IsOverdue() const = 0;
};

using MakeHttpExchange = std::function<std::unique_ptr<HttpExchange>()>;  // any thread

}  // namespace wendra
