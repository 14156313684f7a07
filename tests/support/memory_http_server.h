// An HTTP server in memory, and the exchange that talks to it: the exchange reads what a handler of
// the server has written.
#pragma once

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "base/ascii.h"
#include "base/clock.h"
#include "base/http_exchange.h"
#include "base/lock.h"

namespace wendra {

// One connection between a handler and an exchange. Any thread.
class MemoryConnection {
 public:
  // For the handler. False: the exchange has been destroyed.
  bool Send(std::string_view bytes) {
    const std::lock_guard<Lock> lock(lock_);
    if (isClosedByClient_) return false;
    bytes_ += bytes;
    changed_.WakeAll();
    return true;
  }
  bool Answer(std::string_view statusLine, std::string_view headers, std::string_view body) {
    return Send("HTTP/1.1 " + std::string(statusLine) + "\r\n" + std::string(headers) +
                "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body));
  }
  void WaitForClose() {
    const std::lock_guard<Lock> lock(lock_);
    changed_.Wait(lock_, [this] { return isClosedByClient_; });
  }

 private:
  friend class MemoryExchange;
  friend class MemoryHttpServer;

  Lock lock_;
  Condition changed_;
  std::string bytes_;              // sent by the handler, not yet read by the exchange
  bool isClosedByServer_ = false;  // the handler has returned: no more bytes will come
  bool isClosedByClient_ = false;
};

class MemoryHttpServer {
 public:
  using Handler = std::function<void(const HttpRequest&, MemoryConnection&)>;

  explicit MemoryHttpServer(Handler handler) : handler_(std::move(handler)) {}
  // Waits for all handlers. An exchange that a handler waits for must have been destroyed, or
  // another thread must destroy it.
  ~MemoryHttpServer() { JoinAll(); }
  MemoryHttpServer(const MemoryHttpServer&) = delete;
  MemoryHttpServer& operator=(const MemoryHttpServer&) = delete;

  std::vector<HttpRequest> Requests() {
    const std::lock_guard<Lock> lock(lock_);
    return requests_;
  }

  // For exchanges: starts the handler on a new thread. Null after GoDown.
  std::shared_ptr<MemoryConnection> Connect(const HttpRequest& request) {
    const std::lock_guard<Lock> lock(lock_);
    if (isDown_) return nullptr;
    requests_.push_back(request);
    auto connection = std::make_shared<MemoryConnection>();
    threads_.emplace_back([this, request, connection] {
      handler_(request, *connection);
      const std::lock_guard<Lock> end(connection->lock_);
      connection->isClosedByServer_ = true;
      connection->changed_.WakeAll();
    });
    return connection;
  }

  // From now on, no exchange can connect. Waits for all handlers.
  void GoDown() {
    {
      const std::lock_guard<Lock> lock(lock_);
      isDown_ = true;
    }
    JoinAll();
  }

 private:
  void JoinAll() {
    std::list<std::thread> threads;
    {
      const std::lock_guard<Lock> lock(lock_);
      isDown_ = true;
      threads.swap(threads_);
    }
    for (std::thread& thread : threads) thread.join();
  }

  const Handler handler_;
  Lock lock_;
  std::vector<HttpRequest> requests_;
  std::list<std::thread> threads_;
  bool isDown_ = false;
};

// An exchange with a MemoryHttpServer. It reads the body in chunks of at most 8 KiB, like WinHTTP.
class MemoryExchange : public HttpExchange {
 public:
  explicit MemoryExchange(std::shared_ptr<MemoryHttpServer> server) : server_(std::move(server)) {}
  ~MemoryExchange() override { Close(); }

  Outcome<std::uint32_t> Send(HttpRequest request) override {
    if (!request.url.starts_with("http://")) return Failure{"invalid URL"};
    if (request.limitMs) dueMs_ = ClockMs() + request.limitMs;
    {
      const std::lock_guard<Lock> lock(lock_);
      if (isAborted_) return Failure{"request failed (offline?)"};
      connection_ = server_->Connect(request);
    }
    if (!connection_) return Failure{"request failed (offline?)"};
    for (;;) {
      const size_t end = head_.find("\r\n\r\n");
      if (end != std::string::npos) return TakeHead(end);
      const std::string more = Receive(8192);
      if (more.empty()) return Failure{"request failed (offline?)"};
      head_ += more;
    }
  }

  std::optional<std::string> ResponseHeader(std::string_view name) const override {
    for (const auto& [one, value] : headers_) {
      if (LowerAscii(one) == LowerAscii(name) && value.size() <= 1023) return value;
    }
    return std::nullopt;
  }

  size_t WaitForChunk() override {
    if (chunk_.empty()) {
      chunk_ = Receive(std::min<size_t>(8192, bodyLeft_));
      bodyLeft_ -= chunk_.size();
    }
    return chunk_.size();
  }

  void AskForChunk() override {}

  std::string_view ReadChunk(size_t bytes) override {
    read_ = chunk_.substr(0, bytes);
    chunk_.erase(0, bytes);
    return read_;
  }

  void Abort() override {
    const std::lock_guard<Lock> lock(lock_);
    isAborted_ = true;
    if (!connection_) return;
    const std::lock_guard<Lock> own(connection_->lock_);
    connection_->changed_.WakeAll();
  }

  bool IsOverdue() const override { return isOverdue_; }

 private:
  Outcome<std::uint32_t> TakeHead(size_t end) {
    std::string_view head = std::string_view(head_).substr(0, end);
    std::uint32_t status = 0;
    const size_t blank = head.find(' ');
    (void)std::from_chars(head.data() + blank + 1, head.data() + head.size(), status);
    for (size_t line = head.find("\r\n"); line != head.npos; line = head.find("\r\n", line + 2)) {
      std::string_view text = head.substr(line + 2);
      text = text.substr(0, text.find("\r\n"));
      const size_t colon = text.find(':');
      if (colon == text.npos) continue;
      headers_.emplace_back(text.substr(0, colon), TrimWhitespace(text.substr(colon + 1)));
      if (LowerAscii(headers_.back().first) == "content-length") {
        bodyLeft_ = std::stoul(headers_.back().second);
      }
    }
    chunk_ = head_.substr(end + 4, bodyLeft_);
    bodyLeft_ -= std::min(bodyLeft_, chunk_.size());
    return status;
  }

  // Waits for bytes and returns at most `bytes` of them. "" at the end, after Abort, and when the
  // limit of the request (or 120 seconds without one) is over.
  std::string Receive(size_t bytes) {
    MemoryConnection& connection = *connection_;
    const std::lock_guard<Lock> lock(connection.lock_);
    const auto isDone = [&] {
      return bytes == 0 || isAborted_ || !connection.bytes_.empty() || connection.isClosedByServer_;
    };
    const std::uint64_t nowMs = ClockMs();
    const std::uint64_t leftMs = dueMs_ == 0 ? 120'000 : dueMs_ - std::min(dueMs_, nowMs);
    isOverdue_ = !connection.changed_.WaitFor(connection.lock_, static_cast<std::uint32_t>(leftMs),
                                              isDone) ||
                 (dueMs_ != 0 && ClockMs() >= dueMs_);
    if (isAborted_ || isOverdue_) return {};
    std::string got = connection.bytes_.substr(0, bytes);
    connection.bytes_.erase(0, bytes);
    return got;
  }

  void Close() {
    if (!connection_) return;
    const std::lock_guard<Lock> lock(connection_->lock_);
    connection_->isClosedByClient_ = true;
    connection_->changed_.WakeAll();
  }

  const std::shared_ptr<MemoryHttpServer> server_;
  Lock lock_;
  std::shared_ptr<MemoryConnection> connection_;
  std::atomic<bool> isAborted_ = false;
  std::atomic<bool> isOverdue_ = false;
  std::uint64_t dueMs_ = 0;  // when the limit is over, in time of ClockMs; 0: no limit
  std::string head_;
  std::vector<std::pair<std::string, std::string>> headers_;
  size_t bodyLeft_ = static_cast<size_t>(-1);
  std::string chunk_;
  std::string read_;
};

}  // namespace wendra
