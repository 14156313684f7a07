// The MCP client's inbox: hands messages over through the message queue of the main window.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "base/lock.h"
#include "mcp/inbox.h"

#include <windows.h>

namespace wendra {

// Shared with the threads of the servers, which may outlive the window.
class WindowInbox : public Inbox {
 public:
  explicit WindowInbox(HWND window) : window_(window) {}

  bool DeliverText(ServerId server, std::string text) override;
  bool PostText(ServerId server, std::string text) override;
  bool DeliverClosed(ServerId server) override;

  // kHttpPostedMessage only tells that there is a status: a message without a payload does no harm,
  // whatever program posts it.
  bool DeliverStatus(ServerId server, PostStatus status) override;

  // The statuses since the last call, in order of delivery. UI thread.
  std::vector<std::pair<ServerId, PostStatus>> TakeStatuses();

 private:
  const HWND window_;
  Lock lock_;
  std::vector<std::pair<ServerId, PostStatus>> statuses_;
};

}  // namespace wendra
