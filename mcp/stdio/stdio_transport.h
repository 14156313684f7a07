// The way to a local MCP server: its standard streams, one JSON message per line. Pure.
#pragma once

#include <memory>
#include <string>

#include "base/log.h"
#include "mcp/flow_control.h"
#include "mcp/inbox.h"
#include "mcp/stdio/child.h"
#include "mcp/stdio/message_writer.h"
#include "mcp/transport.h"

namespace wendra {

// UI thread only. Two threads read: each line of the child's output is delivered through the flow
// control, and so is the end of the output; what the child has written to its standard error
// becomes one log line at its end. The threads own what they use, and nobody waits for them.
class StdioTransport : public Transport {
 public:
  // `server` names the connection in what is delivered, `name` names it in the log. Borrows `log`,
  // which must live as long as a thread reads.
  StdioTransport(ServerId server, std::string name, McpChild child,
                 std::shared_ptr<FlowControl> flow, Log& log);
  ~StdioTransport() override { (void)Stop(); }
  StdioTransport(const StdioTransport&) = delete;
  StdioTransport& operator=(const StdioTransport&) = delete;

  bool Send(OutgoingMessage message) override;
  void Refuse(std::string text) override;

  // In this order: closes the child's input, ends the child, ends the reading, ends every process
  // that the child has started.
  std::shared_ptr<SessionEnd> Stop() override;

 private:
  static void StopReading(std::shared_ptr<Pipe>& pipe);

  const ServerId server_;
  const std::shared_ptr<FlowControl> flow_;
  std::unique_ptr<ChildProcess> process_;  // null once stopped
  MessageWriter writer_;
  std::shared_ptr<Pipe> output_;  // null once stopped
  std::shared_ptr<Pipe> error_;
};

}  // namespace wendra
