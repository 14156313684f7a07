// Implements the MCP client's Inbox with the message queue of the main window.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/lock.h"
#include "mcp/inbox.h"

#include <windows.h>

namespace wendra {

// Shared by shared_ptr with the servers' threads, which may run longer than the window exists.
class WindowInbox : public Inbox {
 public:
  explicit WindowInbox(HWND window) : window_(window) {}

  bool DeliverText(ServerId server, std::string text) override;
  bool PostText(ServerId server, std::string text) override;
  bool DeliverClosed(ServerId server) override;

  // Keeps the status here and posts kHttpPostedMessage without a payload. So a message that another
  // program posts under that number does no harm.
  bool DeliverStatus(ServerId server, PostStatus status) override;

  // Takes the statuses delivered since the last call, in order. UI thread.
  std::vector<std::pair<ServerId, PostStatus>> TakeStatuses();

 private:
  const HWND window_;
  Lock lock_;
  std::vector<std::pair<ServerId, PostStatus>> statuses_;
};

}  // namespace wendra
