#include "bridge/replies.h"

#include "bridge/reply_address.h"

namespace wendra {

void Replies::Succeed(std::string_view reqId, const Json& value) {
  Send(reqId, ReplyStatus::kSucceeded, value);
}

void Replies::Fail(std::string_view reqId, std::string_view error) {
  Send(reqId, ReplyStatus::kFailed, Json(error));
}

void Replies::Send(std::string_view reqId, ReplyStatus status, const Json& value) {
  const ReplyAddressParts to = SplitReplyAddress(reqId);
  page_.RunFor(to.origin, ResolveScript(to.reqId, status, value));
}

}  // namespace wendra
