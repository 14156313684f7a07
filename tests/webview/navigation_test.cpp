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

TEST(IsWebOrMailAddress, LooksAtTheScheme) {
  const struct {
    std::string_view address;
    bool want;
  } cases[] = {
      {"http://h/", true},
      {"https://h/", true},
      {"HTTPS://h/", true},
      {"mailto:a@b.test", true},
      {"MailTo:a@b.test", true},
      {"http:", true},
      {"", false},
      {"http", false},
      {"httpx://h/", false},
      {"file:///c:/x", false},
      {" http://h/", false},
      {"ftp://h/", false},
      {"ms-settings:", false},
      {"C:\\x.exe", false},
      {"javascript:alert(1)", false},
      {"\\\\h\\x.exe", false},
      {"view-source:http:", false},
  };
  for (const auto& c : cases) EXPECT_EQ(IsWebOrMailAddress(c.address), c.want) << c.address;
}

constexpr char kServer[] = "http://localhost:3000";
constexpr char kSignIn[] = "https://sign-in.test/start";

TEST(NavigationRule, ChecksWhatTheUserStartsAndNoRedirect) {
  const struct {
    const char* why;
    NavigationStart navigation;
    bool mustStayOutside;
  } cases[] = {
      {"a clicked foreign link", {kSignIn, true, false}, true},
      {"a clicked link of the server", {"http://localhost:3000/a", true, false}, false},
      {"a link to the server as the control writes it",
       {"http://xn--wndra-gra/", true, false},
       false},
      {"a script", {kSignIn, false, false}, false},
      {"a redirect of a script", {kSignIn, false, true}, false},
      {"a redirect of a clicked link", {kSignIn, true, true}, false},
  };
  for (const auto& c : cases) {
    NavigationRule rule(kServer, "http://xn--wndra-gra");
    EXPECT_EQ(rule.MustStayOutside(c.navigation), c.mustStayOutside) << c.why;
  }
}

TEST(NavigationRule, LetsTheHostsOwnNavigationPassOnce) {
  NavigationRule rule(kServer, kServer);
  const NavigationStart navigation{kSignIn, true, false};
  rule.ExpectOwnNavigation(kSignIn);
  EXPECT_TRUE(rule.MustStayOutside({"https://other.test/", true, false}));  // a click meanwhile
  EXPECT_FALSE(rule.MustStayOutside(navigation));
  EXPECT_TRUE(rule.MustStayOutside(navigation));  // a click on the same address
}

TEST(NavigationRule, ForgetsTheHostsOwnNavigationWithTheNextDocument) {
  NavigationRule rule(kServer, kServer);
  rule.ExpectOwnNavigation(kSignIn);
  rule.DocumentCommitted();
  EXPECT_TRUE(rule.MustStayOutside({kSignIn, true, false}));
}

}  // namespace
}  // namespace wendra
