// One HTTP request and its response: the only code of the program that talks WinHTTP.
//
// Redirects. WinHTTP by itself follows them to any host and takes all headers along. That is right
// for a download and wrong for a request that carries secrets, so the request says which it is; see
// HttpRedirects.
//
// Proxies are those of the machine (`netsh winhttp`); no cookies, no stored passwords, no
// compression.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/outcome.h"

#include <windows.h>

namespace wendra {

struct HttpTimeouts {  // in milliseconds
  int resolveMs;
  int connectMs;
  int sendMs;
  int receiveMs;  // for the response's headers, and again for each piece of its body
};

enum class HttpRedirects {
  // WinHTTP's own rules: anywhere, but not from https to http.
  kAnywhere,
  // Only to the same scheme, host and port, at most ten times, and only as the same request again:
  // 307 and 308, for GET also 301, 302 and 303. Any other redirect is the response.
  kSameOrigin,
};

struct HttpRequest {
  std::string url;
  const wchar_t* verb = L"GET";
  const wchar_t* userAgent = L"";
  HttpTimeouts timeouts{};
  // Sent in this order. A header whose name or value holds a control character is not sent: it
  // would end its line, and what follows would be the server's next header, or its next request.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  HttpRedirects redirects = HttpRedirects::kSameOrigin;
  // In milliseconds, for the whole exchange from Send on; 0: no limit. Then the exchange is overdue
  // and whatever waits in it fails.
  std::uint32_t limitMs = 0;
};

// One exchange belongs to one worker thread, which waits in it; only Abort may come from another.
// Whatever comes after Abort, after a failure and after the request's limit fails at once: WinHTTP
// must not be asked anything about a request that has failed. Handles are closed by the worker
// alone (request, connection, session), so that none is closed while a call is about to use it.
class HttpExchange {
 public:
  HttpExchange();
  ~HttpExchange();
  HttpExchange(const HttpExchange&) = delete;
  HttpExchange& operator=(const HttpExchange&) = delete;

  // Sends and waits for the response's headers: its status, or "invalid URL", "WinHttpOpen failed",
  // "connect failed", "request failed", "request failed (offline?)". Host names longer than 254 and
  // paths with their query longer than 4,094 characters are invalid. Once.
  Outcome<DWORD> Send(HttpRequest request);

  // Once Send has succeeded: a header of the response. None if it is missing or longer than 1,023
  // characters (2,048 bytes with its end).
  std::optional<std::string> ResponseHeader(const wchar_t* name) const;

  // Once Send has succeeded: waits for the next piece of the body and says how many bytes it has; 0
  // at the end, after a failure and after Abort.
  size_t WaitForPiece();

  // Asks for the next piece without waiting, so that it comes while the last one is looked at.
  // Before a WaitForPiece, which then only waits. Only while more is sure to come: Wine keeps a
  // connection on which somebody has asked in vain until the time for receiving is over.
  void AskForPiece();

  // Reads `bytes` bytes of the piece that has been waited for; "" when that fails. Valid until the
  // next call of it.
  std::string_view ReadPiece(size_t bytes);

  // Ends the waiting of the worker at once, now and later. Any thread, any time, any number of
  // times.
  void Abort();

  // Whether the request's limit has ended it.
  bool IsOverdue() const;

 private:
  struct Operation;
  class Connection;

  std::shared_ptr<Operation> operation_;  // also held by WinHTTP, until it lets go of the request
  std::unique_ptr<Connection> connection_;
  bool isAsked_ = false;  // for a piece that nobody has waited for
};

}  // namespace wendra
