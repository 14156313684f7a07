// Sends the host's error responses to the requests of one remote server. Pure.
#pragma once

#include <memory>
#include <string>

#include "mcp/http/link.h"

namespace wendra {

// One thread sends all refusals of a server, one after the other: a server that sends requests and
// takes no responses must not cost a thread for each of them. UI thread only.
class HttpRefusals {
 public:
  explicit HttpRefusals(std::shared_ptr<HttpLink> link);

  // Sends `text` after the refusals that wait already. Does not wait. Drops `text` if the system
  // has no thread to give.
  void Send(std::string text);

 private:
  struct Queue;

  const std::shared_ptr<Queue> queue_;  // shared with the thread
};

}  // namespace wendra
