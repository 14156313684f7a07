// Sends our error responses to the requests of one remote server.
#pragma once

#include <memory>
#include <string>

#include "mcp/http/http_link_win.h"

namespace wendra {

// Starts to send `text` to the server, after the refusals that wait already. All of a server's
// refusals share one thread: a server that asks and takes no answer costs one thread and one
// connection, not one for each question. UI thread; does not wait.
class HttpRefusals {
 public:
  explicit HttpRefusals(std::shared_ptr<HttpLink> link);

  // Dropped when no thread can be made.
  void Send(std::string text);

 private:
  struct Queue;

  static void Run(std::unique_ptr<std::shared_ptr<Queue>> job);

  const std::shared_ptr<Queue> queue_;  // shared with the thread
};

}  // namespace wendra
