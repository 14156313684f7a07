#include "bridge/reply_address.h"

namespace wendra {
namespace {

constexpr char kEndOfOrigin = '\n';  // never part of an origin, but an id may hold it

}  // namespace

std::string ReplyAddress(std::string_view origin, std::string_view reqId) {
  std::string address;
  address.reserve(origin.size() + 1 + reqId.size());
  address += origin;
  address += kEndOfOrigin;
  address += reqId;
  return address;
}

ReplyAddressParts SplitReplyAddress(std::string_view address) {
  const size_t end = address.find(kEndOfOrigin);
  if (end == std::string_view::npos) return {{}, address};
  return {address.substr(0, end), address.substr(end + 1)};
}

}  // namespace wendra
