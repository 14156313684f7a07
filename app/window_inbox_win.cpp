#include "app/window_inbox_win.h"

#include <memory>
#include <mutex>

#include "win/messages.h"
#include "win/owned_message.h"

namespace wendra {

bool WindowInbox::DeliverText(ServerId server, std::string text) {
  return DeliverOwned(window_, kMcpMessage, static_cast<WPARAM>(server),
                      std::make_unique<std::string>(std::move(text)));
}

bool WindowInbox::PostText(ServerId server, std::string text) {
  return PostOwned(window_, kMcpMessage, static_cast<WPARAM>(server),
                   std::make_unique<std::string>(std::move(text)));
}

bool WindowInbox::DeliverClosed(ServerId server) {
  return Deliver(window_, kMcpClosedMessage, static_cast<WPARAM>(server));
}

bool WindowInbox::DeliverStatus(ServerId server, PostStatus status) {
  {
    const std::lock_guard<Lock> lock(lock_);
    statuses_.emplace_back(server, status);
  }
  return Deliver(window_, kHttpPostedMessage, 0);
}

std::vector<std::pair<ServerId, PostStatus>> WindowInbox::TakeStatuses() {
  const std::lock_guard<Lock> lock(lock_);
  return std::exchange(statuses_, {});
}

}  // namespace wendra
