#include "bridge/reply_address.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(ReplyAddress, SplitsIntoTheOriginAndTheIdItWasMadeOf) {
  const struct {
    std::string_view origin, reqId;
  } cases[] =
      {
          {"http://localhost:80", "r1"},
          {"http://localhost:80", ""},
          {"", "r1"},
          {"", ""},
          {"http://localhost:80", "two\nlines"},
          {"", "http://localhost:80\nr1"},  // an id that looks like a reply address
          {"https://[::1]:443", "'\\\"\xFF"},
      };
  for (const auto& c : cases) {
    const std::string address = ReplyAddress(c.origin, c.reqId);
    const ReplyAddressParts parts = SplitReplyAddress(address);
    EXPECT_EQ(parts.origin, c.origin) << address;
    EXPECT_EQ(parts.reqId, c.reqId) << address;
  }
}

TEST(ReplyAddress, WithoutALineFeedIsAnIdWithoutAnOrigin) {
  const ReplyAddressParts parts = SplitReplyAddress("r1");
  EXPECT_EQ(parts.origin, "");
  EXPECT_EQ(parts.reqId, "r1");
}

}  // namespace
}  // namespace wendra
