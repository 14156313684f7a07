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

TEST(HostAndPort, GivesTheTextAfterTheLastAtSign) {
  EXPECT_EQ(HostAndPort("h:1"), "h:1");
  EXPECT_EQ(HostAndPort("u:p@h:1"), "h:1");
  EXPECT_EQ(HostAndPort("a@b@h"), "h");
  EXPECT_EQ(HostAndPort("u@"), "");
}

TEST(IsHttp, AcceptsHttpAndHttpsInAnyLetterCase) {
  for (const char* scheme : {"http", "https", "HTTP", "HttpS"}) EXPECT_TRUE(IsHttp(scheme));
  for (const char* scheme : {"", "ftp", "http ", "httpss", "blob:http"})
    EXPECT_FALSE(IsHttp(scheme));
}

TEST(AddressOfOrigin, GivesTheAddressInsideABlobAddress) {
  EXPECT_EQ(AddressOfOrigin("blob:http://h:1/1-2"), "http://h:1/1-2");
  EXPECT_EQ(AddressOfOrigin("blob:null/1-2#://h/"), "null/1-2#://h/");
  EXPECT_EQ(AddressOfOrigin("http://h/blob:http://x"), "http://h/blob:http://x");
  EXPECT_EQ(AddressOfOrigin("data:,blob:http://x"), "data:,blob:http://x");
}

TEST(OriginOf, GivesSchemeHostAndPort) {
  const struct {
    std::string_view address, origin;
  } cases[] = {
      {"http://h/p?q#f", "http://h:80"},
      {"http://h:80/", "http://h:80"},
      {"http://h:/", "http://h:80"},
      {"https://h", "https://h:443"},
      {"https://h:80", "https://h:80"},
      {"HTTP://H:8080", "http://h:8080"},
      {"http://u:p@h:1/", "http://h:1"},
      {"http://a@b@h", "http://h:80"},
      {"http://[::1]/", "http://[::1]:80"},
      {"http://[::1]:5173/", "http://[::1]:5173"},
      {"http://127.0.0.1:1", "http://127.0.0.1:1"},
      {"blob:http://h:1/1-2", "http://h:1"},
      {"blob:https://h/1-2", "https://h:443"},
      // Addresses without an origin.
      {"", ""},
      {"about:blank", ""},
      {"data:text/html,http://h", ""},
      {"data:text/html,x://h", ""},
      {"file:///c:/x", ""},
      {"ftp://h", ""},
      {"h:1/p", ""},
      {"http://", ""},
      {"http:///p", ""},
      {"http://u@/", ""},
      {"http://[::1/", ""},
      {"blob:null/1-2", ""},
      {"blob:null/1-2#://h/", ""},
      {"blob:blob:http://h/1-2", ""},
      {"blob:data:,http://h/1-2", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(OriginOf(c.address), c.origin) << c.address;
}

}  // namespace
}  // namespace wendra
