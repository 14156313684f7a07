#include "win/host_name.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(AsciiHostName, ConvertsNamesThatHaveAnAsciiForm) {
  const struct {
    std::string host, want;
  } cases[] = {
      {"localhost", "localhost"},
      {"demo.on.wendra.example", "demo.on.wendra.example"},
      {"bücher.on.wendra.example", "xn--bcher-kva.on.wendra.example"},
      {"日本.test", "xn--wgv71a.test"},
      {"127.0.0.1", "127.0.0.1"},
      {"[", "["},
      {"", ""},
      {std::string(300, 'a'), std::string(300, 'a')},  // too long for a host name
  };
  for (const auto& c : cases) EXPECT_EQ(AsciiHostName(c.host), c.want) << c.host;
}

}  // namespace
}  // namespace wendra
