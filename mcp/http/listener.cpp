#include "mcp/http/listener.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/thread.h"
#include "mcp/http/event_stream.h"

namespace wendra {
namespace {

constexpr HttpTimeouts kListenerTimeouts{8000, 8000, 30'000, 30'000};
constexpr std::uint32_t kReconnectPauseMs = 2000;  // deliberate: the pause never grows
constexpr std::size_t kMaxLineBytes = 8'388'608;   // the limit of any other HTTP body, too
constexpr std::size_t kMaxEventIdBytes = 1024;     // a longer id is not kept: it becomes a header

struct Listener {
  std::shared_ptr<HttpLink> link;
  std::string sessionId = {};    // of the last request
  std::string lastEventId = {};  // "" when there is none
};

HttpRequest StreamRequest(Listener& listener) {
  const HttpLink::Session session = listener.link->CurrentSession();
  if (session.id != listener.sessionId) {  // event ids mean nothing to another session
    listener.sessionId = session.id;
    listener.lastEventId.clear();
  }
  NamedValues headers = {{"Accept", "text/event-stream"}};
  if (!session.protocolVersion.empty()) {
    headers.emplace_back("MCP-Protocol-Version", session.protocolVersion);
  }
  if (!session.id.empty()) headers.emplace_back("Mcp-Session-Id", session.id);
  if (!listener.lastEventId.empty()) headers.emplace_back("Last-Event-ID", listener.lastEventId);
  return listener.link->Request("GET", std::move(headers), kListenerTimeouts);
}

void Take(Listener& listener, std::vector<EventField> fields) {
  for (EventField& field : fields) {
    if (field.kind == EventField::Kind::kEventId) {
      if (field.text.size() <= kMaxEventIdBytes) listener.lastEventId = std::move(field.text);
    } else {
      listener.link->Deliver(std::move(field.text));
    }
  }
}

void ListenOnce(Listener& listener) {
  LinkedExchange exchange(*listener.link);
  const auto status = exchange->Send(StreamRequest(listener));
  if (!status || status.Value() < 200 || status.Value() > 299) return;
  EventStream events(kMaxLineBytes);
  while (const std::size_t bytes = exchange->WaitForChunk()) {
    Take(listener, events.Feed(exchange->ReadChunk(bytes)));
  }
  Take(listener, events.Finish());
}

void Listen(Listener& listener) {
  if (!listener.link->WaitForHandshake()) return;
  do {
    ListenOnce(listener);
  } while (listener.link->Pause(kReconnectPauseMs));
}

}  // namespace

void StartHttpListener(std::shared_ptr<HttpLink> link) {
  Listener listener{.link = std::move(link)};
  // Without a thread the server cannot send messages by itself, but it still answers requests.
  (void)StartDetachedThread([listener = std::move(listener)]() mutable { Listen(listener); });
}

}  // namespace wendra
