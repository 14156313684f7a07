#include "base/address.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(SplitAddress, CutsAtTheFirstSeparatorAndTheEndOfTheAuthority) {
  const struct {
    std::string_view address;
    bool hasScheme;
    std::string_view scheme, authority;
  } cases[] = {
      {"http://h:1/p", true, "http", "h:1"},
      {"http://h?q", true, "http", "h"},
      {"http://h#f", true, "http", "h"},
      {"http://h", true, "http", "h"},
      {"a://b://c", true, "a", "b:"},
      {"://h", true, "", "h"},
      {"h/p://x", true, "h/p", "x"},
      {"h:1/p", false, "", "h:1"},
      {"http:/h", false, "", "http:"},
      {"", false, "", ""},
      {"://", true, "", ""},
  };
  for (const auto& c : cases) {
    const AddressParts parts = SplitAddress(c.address);
    EXPECT_EQ(parts.hasScheme, c.hasScheme) << c.address;
    EXPECT_EQ(parts.scheme, c.scheme) << c.address;
    EXPECT_EQ(parts.authority, c.authority) << c.address;
  }
}

TEST(HostAndPort, IsWhatFollowsTheLastAtSign) {
  EXPECT_EQ(HostAndPort("h:1"), "h:1");
  EXPECT_EQ(HostAndPort("u:p@h:1"), "h:1");
  EXPECT_EQ(HostAndPort("a@b@h"), "h");
  EXPECT_EQ(HostAndPort("u@"), "");
}

}  // namespace
}  // namespace wendra
