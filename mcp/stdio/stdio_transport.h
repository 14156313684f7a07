// The transport of a local MCP server: its standard streams, one JSON message per line. Pure.
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

// UI thread only. Two threads read. One delivers each line of the child's output through
// FlowControl, and then the end of the output, which is not counted. The other collects what the
// child writes to its standard error and logs it as one entry at the end of that stream.
// MessageWriter has a thread that writes. The threads share the pipes with this object and borrow
// only `log`. This class waits for none of them.
class StdioTransport : public Transport {
 public:
  // `server` names the connection in deliveries, `name` names it in the log. Borrows `log`, which
  // must live as long as a thread reads.
  StdioTransport(ServerId server, std::string name, McpChild child,
                 std::shared_ptr<FlowControl> flow, Log& log);
  ~StdioTransport() override { (void)Stop(); }
  StdioTransport(const StdioTransport&) = delete;
  StdioTransport& operator=(const StdioTransport&) = delete;

  bool Send(OutgoingMessage message) override;
  void Refuse(std::string text) override;

  // In this order: closes the child's input, ends the child, cancels the reads, ends every process
  // that the child has started.
  std::shared_ptr<SessionEnd> Stop() override;

 private:
  static void StopReading(std::shared_ptr<Pipe>& pipe);

  const ServerId server_;
  const std::shared_ptr<FlowControl> flow_;
  std::unique_ptr<ChildProcess> process_;  // null once stopped
  MessageWriter writer_;
  std::shared_ptr<Pipe> output_;  // null once stopped
  std::shared_ptr<Pipe> error_;   // null once stopped, and if no thread reads it
};

}  // namespace wendra
