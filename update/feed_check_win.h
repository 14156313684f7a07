// The host's own look at the feed, once, on a thread of its own. It only writes into the log.
#pragma once

#include <memory>
#include <string>

#include "update/outlet.h"
#include "win/winhttp_exchange.h"

namespace wendra {

class FeedCheck {
 public:
  // Starts the thread, which reads the configuration at `configPath` anew. `outlet` must live until
  // the process ends. Without a thread to be had there is no check.
  FeedCheck(const std::wstring& configPath, UpdateOutlet& outlet);

  // Ends what the thread waits for and does not wait for the thread. It may still write its lines:
  // shut the outlet first.
  ~FeedCheck();
  FeedCheck(const FeedCheck&) = delete;
  FeedCheck& operator=(const FeedCheck&) = delete;

 private:
  const std::shared_ptr<WinHttpExchange> exchange_;  // shared with the thread
};

}  // namespace wendra
