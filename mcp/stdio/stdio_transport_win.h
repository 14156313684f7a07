// The way to a local MCP server: its standard streams, one JSON message a line.
#pragma once

#include <atomic>
#include <memory>

#include "base/log.h"
#include "mcp/backlog_win.h"
#include "mcp/stdio/message_writer_win.h"
#include "mcp/server.h"
#include "mcp/stdio/server_process_win.h"
#include "mcp/transport.h"

#include <windows.h>

namespace wendra {

// UI thread only. Two threads of its own read: each line of the child's output becomes a
// kMcpMessage to the main window, by way of the backlog; the output's end becomes one
// kMcpClosedMessage; what the child wrote to its standard error becomes one log line when that
// ends. They own what they use and are not waited for.
class StdioTransport : public Transport {
 public:
  // Reads for `server`, which the posted messages name; `log` is borrowed for good.
  StdioTransport(const McpServer& server, ServerProcess process, HWND window,
                 std::shared_ptr<Backlog> backlog, Log& log);
  ~StdioTransport() override { Stop(); }
  StdioTransport(const StdioTransport&) = delete;
  StdioTransport& operator=(const StdioTransport&) = delete;

  void Send(OutgoingMessage message) override;
  void Refuse(std::string text) override;
  void OnMessageHandled(size_t bytes) override;

  // In this order: closes the child's input, ends the child, ends the reading, ends whatever the
  // child has started.
  void Stop() override;

 private:
  struct PipeEnd {
    KernelHandle pipe;  // closed with the last of reader and transport to let go
    std::atomic<bool> isStopped{false};
  };
  struct OutputJob;
  struct ErrorJob;

  static void ReadOutput(std::unique_ptr<OutputJob> job);
  static void ReadError(std::unique_ptr<ErrorJob> job);
  static size_t ReadSome(PipeEnd& end, char* buffer, size_t bytes);
  static void StopReading(std::shared_ptr<PipeEnd>& end);

  KernelHandle job_;
  KernelHandle process_;
  MessageWriter writer_;
  std::shared_ptr<PipeEnd> output_;  // null once stopped
  std::shared_ptr<PipeEnd> error_;
  const std::shared_ptr<Backlog> backlog_;
  const std::shared_ptr<Backlog::Share> share_ = std::make_shared<Backlog::Share>();
};

// Starts the child of `server`, which then is running and has its transport, or logs why not.
void StartStdioServer(McpServer& server, HWND window, std::shared_ptr<Backlog> backlog, Log& log);

}  // namespace wendra
