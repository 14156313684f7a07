// The child process of a local MCP server, as its transport sees it.
#pragma once

#include <memory>

#include "mcp/stdio/pipe.h"

namespace wendra {

// The destructor ends the tree; see EndTree.
class ChildProcess {
 public:
  virtual ~ChildProcess() = default;

  // Ends the child itself. Does not wait for its end.
  virtual void Terminate() = 0;

  // Ends the child and every process that it has started. Does nothing if the system has refused to
  // tie them to the host.
  virtual void EndTree() = 0;
};

// A running child and the host's ends of its standard streams.
struct McpChild {
  std::unique_ptr<ChildProcess> process;
  std::shared_ptr<Pipe> input;   // the host writes
  std::shared_ptr<Pipe> output;  // the host reads
  std::shared_ptr<Pipe> error;   // the host reads
};

}  // namespace wendra
