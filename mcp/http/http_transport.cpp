#include "mcp/http/http_transport.h"

#include <utility>

#include "base/thread.h"
#include "mcp/http/end_session.h"
#include "mcp/http/listener.h"
#include "mcp/http/post.h"

namespace wendra {

HttpTransport::HttpTransport(ServerId server, const ServerSettings& settings,
                             std::shared_ptr<FlowControl> flow, MakeHttpExchange makeExchange)
    : link_(std::make_shared<HttpLink>(server, settings, std::move(flow), std::move(makeExchange))),
      refusals_(link_) {
  StartHttpListener(link_);
}

bool HttpTransport::Send(OutgoingMessage message) {
  if (isStopped_) return true;
  const auto post = std::make_shared<HttpPost>(HttpPost{
      .link = link_,
      .text = std::move(message.text),
      .requestId = std::move(message.requestId),
      .limitMs = message.timeoutMs,
      .reportsStatus = message.reportsStatus,
  });
  if (StartDetachedThread([post] { HttpRequestWorker(*post); })) return !message.reportsStatus;
  // Without a thread the request fails as it does without a network. If the inbox is full too, the
  // request ends by its time-out.
  if (!post->requestId.empty()) link_->DeliverAtOnce(HttpErrorResponse(post->requestId, ""));
  return true;
}

void HttpTransport::Refuse(std::string text) {
  if (!isStopped_) refusals_.Send(std::move(text));
}

void HttpTransport::SetProtocolVersion(const std::string& version) {
  link_->SetProtocolVersion(version);
}

void HttpTransport::OnInitialized() { link_->OpenForListening(); }

void HttpTransport::ForgetSession() { link_->ForgetAnySession(); }

std::shared_ptr<SessionEnd> HttpTransport::Stop() {
  if (std::exchange(isStopped_, true)) return nullptr;
  auto end = EndHttpSession(*link_);
  link_->Stop();
  return end;
}

}  // namespace wendra
