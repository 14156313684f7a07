// The transport of a remote MCP server: streamable HTTP. Pure.
#pragma once

#include <memory>
#include <string>

#include "base/http_exchange.h"
#include "mcp/flow_control.h"
#include "mcp/http/link.h"
#include "mcp/http/refusals.h"
#include "mcp/inbox.h"
#include "config/settings.h"
#include "mcp/transport.h"

namespace wendra {

// UI thread only. Each request and each notification has a thread of its own. One thread sends all
// refusals, and one thread receives the messages that the server sends by itself. This class waits
// for no thread.
class HttpTransport : public Transport {
 public:
  // Connects with the first message.
  HttpTransport(ServerId server, const ServerSettings& settings, std::shared_ptr<FlowControl> flow,
                MakeHttpExchange makeExchange);
  ~HttpTransport() override { (void)Stop(); }
  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  bool Send(OutgoingMessage message) override;
  void Refuse(std::string text) override;
  void SetProtocolVersion(const std::string& version) override;
  void OnInitialized() override;
  void ForgetSession() override;

  // If there is a session, first starts the DELETE that ends it. Then aborts everything else:
  // requests, notifications, refusals and the listener.
  std::shared_ptr<SessionEnd> Stop() override;

 private:
  const std::shared_ptr<HttpLink> link_;  // shared with the threads
  HttpRefusals refusals_;
  bool isStopped_ = false;
};

}  // namespace wendra
