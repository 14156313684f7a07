// The way to a remote MCP server: streamable HTTP.
#pragma once

#include <cstdint>
#include <memory>

#include "mcp/http/http_link_win.h"
#include "mcp/http/http_refusals_win.h"
#include "mcp/server.h"
#include "mcp/transport.h"
#include "win/unique.h"

#include <windows.h>

namespace wendra {

// UI thread only. Each message has a thread of its own, and so has what the server says by itself;
// what comes is a kMcpMessage to the main window, and once the status of a message is known that
// somebody waits for, a kHttpPostedMessage. No thread is waited for.
class HttpTransport : public Transport {
 public:
  HttpTransport(McpServer& server, HWND window, std::shared_ptr<Backlog> backlog,
                std::shared_ptr<HttpPostedQueue> posted);
  ~HttpTransport() override { Stop(); }
  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  void Send(OutgoingMessage message) override;
  void Refuse(std::string text) override;
  void OnMessageHandled(size_t bytes) override;
  void OnInitialized() override;

  // In this order: tells the server that the session is over, if there is one; ends the requests
  // that wait, and the listening.
  void Stop() override;
  void WaitForFarewell(std::uint32_t maxMs) override;

 private:
  const std::shared_ptr<HttpLink> link_;  // shared with the threads
  HttpRefusals refusals_;
  bool isStopped_ = false;
  KernelHandle farewell_;  // the thread that sends the DELETE, until its end is known
};

// Connects to nothing yet: the first message does.
std::unique_ptr<Transport> MakeHttpTransport(McpServer& server, HWND window,
                                             std::shared_ptr<Backlog> backlog,
                                             std::shared_ptr<HttpPostedQueue> posted);

}  // namespace wendra
