#include "mcp/http/http_link_win.h"

#include <memory>
#include <mutex>
#include <utility>

#include "win/messages.h"
#include "win/owned_message.h"

namespace wendra {
namespace {

constexpr wchar_t kUserAgent[] = L"Wendra-Windows-MCP/1.0";

}  // namespace

void HttpPostedQueue::Deliver(HWND window, HttpPosted posted) {
  {
    const std::lock_guard<Lock> lock(lock_);
    posted_.push_back(std::move(posted));
  }
  (void)wendra::Deliver(window, kHttpPostedMessage, 0);
}

std::vector<HttpPosted> HttpPostedQueue::TakeAll() {
  const std::lock_guard<Lock> lock(lock_);
  return std::exchange(posted_, {});
}

HttpLink::HttpLink(McpServer& server, HWND window, std::shared_ptr<Backlog> backlog,
                   std::shared_ptr<HttpPostedQueue> posted)
    : server_(server),
      url_(server.url),
      headers_(server.headers),
      window_(window),
      backlog_(std::move(backlog)),
      posted_(std::move(posted)) {}

HttpRequest HttpLink::Request(const wchar_t* verb, NamedValues headers,
                              HttpTimeouts timeouts) const {
  HttpRequest request;
  request.url = url_;
  request.verb = verb;
  request.userAgent = kUserAgent;
  request.timeouts = timeouts;
  request.headers = std::move(headers);
  request.headers.insert(request.headers.end(), headers_.begin(), headers_.end());
  request.redirects = HttpRedirects::kSameOrigin;  // the headers are secrets
  return request;
}

HttpLink::Session HttpLink::CurrentSession() const {
  const std::lock_guard<std::mutex> lock(server_.shared.mutex);
  return {server_.shared.sessionId, server_.shared.protocolVersion};
}

void HttpLink::StoreSessionId(std::string id) {
  if (id.empty()) return;
  const std::lock_guard<std::mutex> lock(server_.shared.mutex);
  server_.shared.sessionId = std::move(id);
}

bool HttpLink::ForgetSession(const Session& session) {
  const std::lock_guard<std::mutex> lock(server_.shared.mutex);
  if (server_.shared.sessionId != session.id) return false;
  server_.shared.sessionId.clear();
  server_.shared.protocolVersion.clear();
  return true;
}

void HttpLink::Deliver(std::string message) {
  backlog_->Deliver(window_, reinterpret_cast<WPARAM>(&server_), std::move(message), *share_);
}

void HttpLink::DeliverIfRoom(std::string message) {
  backlog_->DeliverIfRoom(window_, reinterpret_cast<WPARAM>(&server_), std::move(message), *share_);
}

void HttpLink::DeliverAtOnce(std::string message) {
  backlog_->DeliverAtOnce(window_, reinterpret_cast<WPARAM>(&server_), std::move(message), *share_);
}

void HttpLink::DeliverPosted(HttpPosted posted) {
  posted.server = &server_;
  posted_->Deliver(window_, std::move(posted));
}

void HttpLink::Stop() {
  const std::lock_guard<Lock> lock(lock_);
  isStopped_ = true;
  for (HttpExchange* exchange : exchanges_) exchange->Abort();
  changed_.WakeAll();
  backlog_->Stop(*share_);
}

void HttpLink::OpenForListening() {
  const std::lock_guard<Lock> lock(lock_);
  isOpen_ = true;
  changed_.WakeAll();
}

bool HttpLink::WaitForHandshake() {
  std::lock_guard<Lock> lock(lock_);
  changed_.Wait(lock_, [this] { return isOpen_ || isStopped_; });
  return !isStopped_;
}

bool HttpLink::Pause(std::uint32_t pauseMs) {
  std::lock_guard<Lock> lock(lock_);
  return !changed_.WaitFor(lock_, pauseMs, [this] { return isStopped_.load(); });
}

LinkedExchange::LinkedExchange(HttpLink& link) : link_(link) {
  const std::lock_guard<Lock> lock(link_.lock_);
  link_.exchanges_.push_back(&exchange_);
  if (link_.isStopped_) exchange_.Abort();
}

LinkedExchange::~LinkedExchange() {
  const std::lock_guard<Lock> lock(link_.lock_);
  std::erase(link_.exchanges_, &exchange_);
}

}  // namespace wendra
