#include "bridge/replies.h"

#include "bridge/resolve_script.h"

namespace wendra {

void Replies::Succeed(std::string_view reqId, const Json& value) {
  page_.Run(ResolveScript(reqId, ReplyStatus::kSucceeded, value));
}

void Replies::Fail(std::string_view reqId, std::string_view error) {
  page_.Run(ResolveScript(reqId, ReplyStatus::kFailed, Json(error)));
}

}  // namespace wendra
