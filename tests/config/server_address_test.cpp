#include "config/server_address.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(NormalizeServerInput, CompletesBareWordsOnly) {
  const struct {
    std::string_view in, want;
  } cases[] = {
      {"", ""},
      {" \t\r\n", " \t\r\n"},  // whitespace only stays unchanged
      {"demo", "demo.on.wendra.example"},
      {"  demo\t\r\n", "demo.on.wendra.example"},
      {"Demo", "Demo.on.wendra.example"},
      {"localhost", "localhost"},
      {" LocalHost ", "LocalHost"},
      {"localhost:3000", "localhost:3000"},
      {"a.b", "a.b"},
      {"a:b", "a:b"},
      {"a/b", "a/b"},
      {"a\\b", "a\\b"},
      {"a?b", "a?b"},
      {"a#b", "a#b"},
      {"two words", "two words.on.wendra.example"},
      {"--flag", "--flag.on.wendra.example"},
      {"bücher", "bücher.on.wendra.example"},
      {"localhostx", "localhostx.on.wendra.example"},
  };
  for (const auto& c : cases) EXPECT_EQ(NormalizeServerInput(c.in), c.want) << c.in;
}

TEST(ParseHttpUrl, CleansHttpAddressesAndRefusesOtherTexts) {
  const struct {
    std::string_view in, want;
  } cases[] = {
      {"localhost", "https://localhost"},
      {"LocalHost", "https://LocalHost"},
      {"127.0.0.1", "https://127.0.0.1"},
      {"  http://h  ", "http://h"},
      {"http://h///", "http://h"},
      {"HTTP://H/", "HTTP://H"},
      {"HttpS://h", "HttpS://h"},
      {"http://h/p/?q=/", "http://h/p/?q="},
      {"http://[::1]:5173", "http://[::1]:5173"},
      {"https://user@localhost", "https://user@localhost"},
      {"localhost:3000", "https://localhost:3000"},
      {"http://h:99999/x#y", "http://h:99999/x#y"},  // port and path are not checked
      {"x?y", "https://x?y"},
      {"", ""},
      {" \r\n\t", ""},
      {"ftp://localhost", ""},
      {"file:///c:/x", ""},
      {"javascript://localhost/%0aalert(1)", ""},
      {"https://", ""},
      {"https:///", ""},
      {"https:///path", ""},
      {"https://?q", ""},
      {"https://#f", ""},
      {"https://user@", ""},
      {"https://user@/x", ""},
      {"://h", ""},
      {"/", ""},
      {"//", ""},
      {"http ://h", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(ParseHttpUrl(c.in), c.want) << c.in;
}

TEST(ParseHttpUrl, AcceptsTwoThousandCharacters) {
  const std::string path(2000, 'p');
  EXPECT_EQ(ParseHttpUrl("localhost/" + path), "https://localhost/" + path);
  EXPECT_EQ(ParseHttpUrl("http://h" + std::string(2000, '/')), "http://h");
}

TEST(UrlHost, DropsUserPortAndBrackets) {
  const struct {
    std::string_view in, want;
  } cases[] = {
      {"http://Host:1/p", "host"},
      {"http://h?x:y@z", "h"},
      {"http://h#a@b", "h"},
      {"http://u:p@h:1", "h"},
      {"http://a@b@h", "h"},
      {"http://[::1]:5173/x", "::1"},
      {"http://[FE80::A]", "fe80::a"},
      {"http://[::1", "::1"},
      {"http://u@[::1]:5", "::1"},
      {"http://a:b:c", "a:b"},
      {"http://h:", "h"},
      {"host/p", "host"},
      {"host:3", "host"},
      {"http://", ""},
      {"http://:80", ""},
      {"http://wendra.example.", "wendra.example."},
      {"about:blank", "about"},
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(UrlHost(c.in), c.want) << c.in;
}

TEST(IsAllowedHost, AllowsThisMachineAndTheServiceDomainOnly) {
  for (const char* host : {"localhost", "127.0.0.1", "::1", "wendra.example", "a.wendra.example",
                           "demo.on.wendra.example", "x.y.z.wendra.example", "..wendra.example"}) {
    EXPECT_TRUE(IsAllowedHost(host)) << host;
  }
  for (const char* host :
       {"", "localhost.", "127.0.0.2", "127.1", "0.0.0.0", "0:0:0:0:0:0:0:1", "::ffff:127.0.0.1",
        ".wendra.example", "wendra.example.", "evilwendra.example", "wendra.example.evil.test",
        "wendra.exampl", "LOCALHOST", "localhost.evil.test", "wendra-example", "wendra.example:80",
        "[::1]", " localhost"}) {
    EXPECT_FALSE(IsAllowedHost(host)) << host;
  }
}

TEST(IsAllowedServerUrl, ChecksTheHostAndTheCharactersOfTheAuthority) {
  const struct {
    std::string_view url;
    bool isAllowed;
  } cases[] = {
      {"https://demo.on.wendra.example", true},
      {"https://WENDRA.EXAMPLE", true},
      {"https://LocalHost", true},
      {"https://localhost:3000", true},
      {"http://127.0.0.1:8080", true},
      {"http://[::1]:5173", true},
      {"https://user@localhost", true},
      {"http://127.0.0.2", false},
      {"https://localhost@evil.test", false},
      {"https://evil.test/@localhost", false},
      {"https://evil.test?@localhost", false},
      {"https://evil.test#wendra.example", false},
      {"https://wendra.example.evil.test", false},
      {"https://notwendra.example", false},
      {"https://wendra.example\\.evil.test", false},
      // A backslash or a control character in the authority: a browser could find another host.
      {"http://evil.test\\@localhost", false},
      {"https://evil.test\\.wendra.example", false},
      {std::string_view("https://evil.test\0.wendra.example", 33), false},
      {"https://evil.test\t.wendra.example", false},
      {"https://evil.test\n.wendra.example", false},
      {"https://evil.test\r.wendra.example", false},
      {"https://evil.test\x01.wendra.example", false},
      {"https://evil.test\x1F.wendra.example", false},
      {"https://evil.test\x7F.wendra.example", false},
      {"https://evil.test\xC2\x80.wendra.example", false},
      {"https://evil.test\xC2\x9F.wendra.example", false},
      {"https://us\ter@localhost", false},  // the user part belongs to the authority
      {"https://us\\er@localhost", false},
      {"https://localhost:\t80", false},
      // No control character and no backslash in the authority.
      {"https://evil.test .wendra.example", true},  // a space: no browser loads this address
      {"https://two words.on.wendra.example", true},
      {"https://a\xC2\xA0.wendra.example", true},
      {"https://bücher.on.wendra.example", true},
      {"https://\xE2\x80\x80.wendra.example", true},  // U+2000; its bytes look like U+0080
      {"https://localhost/\t", true},                 // after the authority, as in the next rows
      {"https://localhost?\x01", true},
      {"https://localhost#\x7F", true},
      {std::string_view("https://localhost/\0", 19), true},
      {"https://localhost/a\\b c", true},
  };
  for (const auto& c : cases) EXPECT_EQ(IsAllowedServerUrl(c.url), c.isAllowed) << c.url;
}

TEST(IsTrustedPage, HasTheServersHostOrAnAllowedOne) {
  EXPECT_TRUE(IsTrustedPage("http://localhost:1/x", "https://demo.on.wendra.example"));
  EXPECT_TRUE(IsTrustedPage("https://DEMO.on.wendra.example/", "https://demo.on.wendra.example"));
  EXPECT_TRUE(IsTrustedPage("http://other.test/x", "http://OTHER.test:3000"));
  EXPECT_FALSE(IsTrustedPage("http://evil.test/", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("about:blank", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("data:text/html,x", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("data:text/html,x://localhost", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("data:,@localhost", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("blob:null/1-2#://localhost/", "http://localhost"));
  EXPECT_TRUE(IsTrustedPage("blob:http://localhost:3/1-2", "https://demo.on.wendra.example"));
  EXPECT_FALSE(IsTrustedPage("blob:http://evil.test/1-2", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("blob:http://evil.test/1-2#://localhost/", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("blob:blob:http://localhost/1-2", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("file://localhost/c$/x.html", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("localhost", "http://localhost"));
  EXPECT_TRUE(IsTrustedPage("HTTPS://localhost", "http://localhost"));
  EXPECT_FALSE(IsTrustedPage("", "http://localhost"));
}

}  // namespace
}  // namespace wendra
