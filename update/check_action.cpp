#include "update/check_action.h"

#include <string>
#include <utility>

namespace wendra {

Action CheckForUpdatesAction(Replies& replies, std::function<void()> startCheck) {
  return {"checkForUpdates",
          [&replies, startCheck = std::move(startCheck)](const std::string& reqId, const Json&) {
            startCheck();
            replies.Succeed(reqId, "ok");
          }};
}

}  // namespace wendra
