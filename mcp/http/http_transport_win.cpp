#include "mcp/http/http_transport_win.h"

#include <string>
#include <utility>

#include "mcp/http/http_listener_win.h"
#include "mcp/http/http_post_win.h"
#include "mcp/http/http_session_end_win.h"
#include "win/thread.h"

namespace wendra {

HttpTransport::HttpTransport(McpServer& server, HWND window, std::shared_ptr<Backlog> backlog,
                             std::shared_ptr<HttpPostedQueue> posted)
    : link_(std::make_shared<HttpLink>(server, window, std::move(backlog), std::move(posted))),
      refusals_(link_) {
  StartHttpListener(link_);
}

void HttpTransport::Send(OutgoingMessage message) {
  if (isStopped_) {
    if (message.onSent) message.onSent(0);
    return;
  }
  auto post = std::make_unique<HttpPost>(HttpPost{link_, std::move(message.text),
                                                  std::move(message.requestId), message.timeoutMs,
                                                  std::move(message.onSent)});
  if (StartThread<HttpRequestWorker>(post)) return;
  // No thread could be made: the request fails as on a bad line, through the window's queue. When
  // that is full too, it times out.
  if (!post->requestId.empty()) link_->DeliverAtOnce(HttpErrorResponse(post->requestId, ""));
  if (post->onSent) post->onSent(0);
}

void HttpTransport::Refuse(std::string text) {
  if (!isStopped_) refusals_.Send(std::move(text));
}

void HttpTransport::OnMessageHandled(size_t bytes) { link_->OnMessageHandled(bytes); }

void HttpTransport::OnInitialized() { link_->OpenForListening(); }

void HttpTransport::Stop() {
  if (std::exchange(isStopped_, true)) return;
  farewell_ = EndHttpSession(*link_);
  link_->Stop();
}

void HttpTransport::WaitForFarewell(std::uint32_t maxMs) {
  if (!farewell_) return;
  if (WaitForSingleObject(farewell_.Get(), maxMs) == WAIT_OBJECT_0) farewell_.Reset();
}

std::unique_ptr<Transport> MakeHttpTransport(McpServer& server, HWND window,
                                             std::shared_ptr<Backlog> backlog,
                                             std::shared_ptr<HttpPostedQueue> posted) {
  return std::make_unique<HttpTransport>(server, window, std::move(backlog), std::move(posted));
}

}  // namespace wendra
