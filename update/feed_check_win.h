// Fetches the feed once on a thread of its own and logs what the feed advertises. The feed check
// decides nothing: the update library makes its own check.
#pragma once

#include <memory>
#include <string>

#include "update/outlet.h"
#include "win/winhttp_exchange.h"

namespace wendra {

class FeedCheck {
 public:
  // Starts the thread, which reads the configuration at `configPath` again. `outlet` must live
  // until the process ends. If no thread can be started there is no check.
  FeedCheck(const std::wstring& configPath, UpdateOutlet& outlet);

  // Aborts the thread's request and does not wait for the thread. The thread may still call the
  // outlet, so the caller shuts the outlet first.
  ~FeedCheck();
  FeedCheck(const FeedCheck&) = delete;
  FeedCheck& operator=(const FeedCheck&) = delete;

 private:
  const std::shared_ptr<WinHttpExchange> exchange_;  // shared with the thread
};

}  // namespace wendra
