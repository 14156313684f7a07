#include "webview/navigation.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(HostOfAddress, IsTheTextBetweenTheSchemeSeparatorAndTheNextDelimiter) {
  const struct {
    std::string_view address, host;
  } cases[] = {
      {"http://Host:80/p", "host"},
      {"http://h/p", "h"},
      {"http://h?q", "h"},
      {"http://h#f", "h"},
      {"HTTP://H", "h"},
      {"x://h://y", "h"},
      {"about:blank", ""},
      {"mailto:a@b", ""},
      {"", ""},
      {"http://", ""},
      {"http:///p", ""},
      {"file:///c:/x", ""},
      {"http://u@h/", "u@h"},
      {"http://[::1]:5/", "["},
      {"http://Ü.test", "Ü.test"},
  };
  for (const auto& c : cases) EXPECT_EQ(HostOfAddress(c.address), c.host) << c.address;
}

TEST(StaysInside, ComparesOnlyTheHosts) {
  const struct {
    std::string_view target, server;
    bool staysInside;
  } cases[] = {
      {"http://localhost:3000/a", "http://localhost:3000", true},
      {"http://localhost:9999/a", "http://localhost:3000", true},  // another port
      {"https://localhost", "http://localhost:3000", true},        // another scheme
      {"http://LOCALHOST/", "http://localhost", true},
      {"http://localhost/", "http://LOCALHOST", true},
      {"ftp://localhost/", "http://localhost", true},
      {"http://other.test/", "http://localhost", false},
      {"http://127.0.0.1/", "http://localhost", false},
      {"http://sub.localhost/", "http://localhost", false},
      {"http://localhost.evil.test/", "http://localhost", false},
      {"about:blank", "http://localhost", true},
      {"mailto:a@b.test", "http://localhost", true},
  };
  for (const auto& c : cases) EXPECT_EQ(StaysInside(c.target, c.server), c.staysInside) << c.target;
}

}  // namespace
}  // namespace wendra
