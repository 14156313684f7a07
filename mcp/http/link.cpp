#include "mcp/http/link.h"

#include <mutex>
#include <utility>

namespace wendra {
namespace {

constexpr char kUserAgent[] = "Wendra-Windows-MCP/1.0";

}  // namespace

HttpLink::HttpLink(ServerId server, const ServerSettings& settings,
                   std::shared_ptr<FlowControl> flow, MakeHttpExchange makeExchange)
    : server_(server),
      url_(settings.url),
      headers_(settings.headers),
      flow_(std::move(flow)),
      makeExchange_(std::move(makeExchange)) {}

HttpRequest HttpLink::Request(std::string method, NamedValues headers,
                              HttpTimeouts timeouts) const {
  HttpRequest request;
  request.url = url_;
  request.method = std::move(method);
  request.userAgent = kUserAgent;
  request.timeouts = timeouts;
  request.headers = std::move(headers);
  request.headers.insert(request.headers.end(), headers_.begin(), headers_.end());
  request.redirects = HttpRedirects::kSameOrigin;  // the configured headers may be secrets
  return request;
}

HttpLink::Session HttpLink::CurrentSession() const {
  const std::lock_guard<Lock> lock(lock_);
  return session_;
}

void HttpLink::StoreSessionId(std::string id) {
  if (id.empty()) return;
  const std::lock_guard<Lock> lock(lock_);
  session_.id = std::move(id);
}

bool HttpLink::ForgetSession(const Session& session) {
  const std::lock_guard<Lock> lock(lock_);
  if (session_.id != session.id) return false;
  session_ = {};
  return true;
}

void HttpLink::ForgetAnySession() {
  const std::lock_guard<Lock> lock(lock_);
  session_ = {};
}

void HttpLink::SetProtocolVersion(std::string version) {
  const std::lock_guard<Lock> lock(lock_);
  session_.protocolVersion = std::move(version);
}

void HttpLink::Deliver(std::string message) { flow_->Deliver(server_, std::move(message)); }

void HttpLink::DeliverIfRoom(std::string message) {
  flow_->DeliverIfRoom(server_, std::move(message));
}

void HttpLink::DeliverAtOnce(std::string message) {
  flow_->DeliverAtOnce(server_, std::move(message));
}

void HttpLink::DeliverStatus(PostStatus status) {
  (void)flow_->Uncounted().DeliverStatus(server_, status);
}

void HttpLink::Stop() {
  const std::lock_guard<Lock> lock(lock_);
  isStopped_ = true;
  for (HttpExchange* exchange : exchanges_) exchange->Abort();
  changed_.WakeAll();
}

void HttpLink::OpenForListening() {
  const std::lock_guard<Lock> lock(lock_);
  isOpen_ = true;
  changed_.WakeAll();
}

bool HttpLink::WaitForHandshake() {
  const std::lock_guard<Lock> lock(lock_);
  changed_.Wait(lock_, [this] { return isOpen_ || isStopped_; });
  return !isStopped_;
}

bool HttpLink::Pause(std::uint32_t pauseMs) {
  const std::lock_guard<Lock> lock(lock_);
  return !changed_.WaitFor(lock_, pauseMs, [this] { return isStopped_; });
}

LinkedExchange::LinkedExchange(HttpLink& link) : link_(link), exchange_(link.MakeExchange()) {
  const std::lock_guard<Lock> lock(link_.lock_);
  link_.exchanges_.push_back(exchange_.get());
  if (link_.isStopped_) exchange_->Abort();
}

LinkedExchange::~LinkedExchange() {
  const std::lock_guard<Lock> lock(link_.lock_);
  std::erase(link_.exchanges_, exchange_.get());
}

}  // namespace wendra
