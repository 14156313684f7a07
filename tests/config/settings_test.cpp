#include "config/settings.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

std::string Described(const NamedValues& values) {
  std::string text;
  for (const auto& [name, value] : values) text += " " + name + "=" + value;
  return text;
}

std::string Described(const ServerSettings& server) {
  std::string text = server.kind == TransportKind::kHttp ? "http" : "stdio";
  text += " " + server.name + ": " + server.command + server.url;
  for (const auto& argument : server.args) text += " [" + argument + "]";
  return text + Described(server.env) + Described(server.headers);
}

std::string Joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : " | ") + line;
  return text;
}

// The entries that ReadSettings gives for `mcpServers`, a JSON object as text.
std::vector<ServerEntry> ServersOf(const std::string& mcpServers) {
  const auto settings = ReadSettings("{\"mcpServers\":" + mcpServers + "}");
  EXPECT_TRUE(settings) << mcpServers;
  return settings.value_or(Settings{}).mcpServers;
}

// The server and the log lines that the entry `value`, a JSON text, gives.
std::string Outcome(const std::string& value) {
  const auto entries = ServersOf("{\"s\":" + value + "}");
  EXPECT_EQ(entries.size(), 1u);
  const auto& entry = entries.at(0);
  const std::string log = Joined(entry.logLines);
  if (!entry.server) return log;
  return Described(*entry.server) + (log.empty() ? "" : " | ") + log;
}

TEST(McpServersSetting, DecidesByTheEntry) {
  const std::string disabled = "[MCP] server 's' is disabled — skipped";
  const std::string badUrl = "[MCP] server 's' has an invalid url — skipped";
  const std::string neither = "[MCP] server 's' has no command or url — skipped";
  const std::string local = "stdio s: x";
  const std::string remote = "http s: https://h/p | [MCP] s -> https://h/p (http)";
  const struct {
    std::string entry, want;
  } cases[] = {
      // Not an object: skipped without a log line.
      {"null", ""},
      {"true", ""},
      {"\"x\"", ""},
      {"[{\"command\":\"x\"}]", ""},
      {"5", ""},

      {R"({"command":"x","enabled":false})", disabled},
      {R"({"command":"x","enabled":0})", disabled},
      {R"({"command":"x","enabled":-0.0})", disabled},
      {R"({"command":"x","enabled":0e5})", disabled},
      {R"({"url":"h/p","enabled":false})", disabled},
      {R"({"enabled":false})", disabled},
      {R"({"command":"x","enabled":true})", local},
      {R"({"command":"x","enabled":1})", local},
      {R"({"command":"x","enabled":0.1})", local},
      {R"({"command":"x","enabled":"false"})", local},
      {R"({"command":"x","enabled":null})", local},
      {R"({"command":"x","enabled":[]})", local},
      {R"({"command":"x","enabled":true,"enabled":false})", local},
      {R"({"command":"x","disabled":true})", local},

      {R"({"url":"https://h/p"})", remote},
      {R"({"url":" \t\r\nh/p// \n"})", remote},
      {R"({"url":"h/p","command":"x"})", remote},
      {R"({"command":"x","url":"h/p"})", remote},
      {R"({"url":"HTTP://H:80/P"})", "http s: HTTP://H:80/P | [MCP] s -> HTTP://H:80/P (http)"},
      {R"({"url":"bare"})", "http s: https://bare | [MCP] s -> https://bare (http)"},
      {R"({"url":"ftp://h/p"})", badUrl},
      {R"({"url":"  "})", badUrl},
      {R"({"url":"https://"})", badUrl},
      {R"({"url":"/","command":"x"})", badUrl},
      {R"({"url":"","command":"x"})", local},
      {R"({"url":5,"command":"x"})", local},
      {R"({"url":null,"command":"x"})", local},
      {R"({"url":["https://h/p"]})", neither},

      {R"({"command":"%X%\\ü \"y\""})", "stdio s: %X%\\ü \"y\""},
      {R"({"command":" "})", "stdio s:  "},
      {R"({"command":""})", neither},
      {R"({"command":["x"]})", neither},
      {R"({"command":null})", neither},
      {R"({"type":"stdio"})", neither},
      {"{}", neither},

      {R"({"command":"x","args":["-y",5,"x"]})", local + " [-y] [x]"},
      {R"({"command":"x","args":["",null,["a"],{"b":"c"},true,"d e"]})", local + " [] [d e]"},
      {R"({"command":"x","args":"-y"})", local},
      {R"({"command":"x","args":{"0":"-y"}})", local},
      {R"({"command":"x","env":{"B":"1","A":"","":"2","C":3,"D":null,"B":"4"}})",
       local + " B=1 A= B=4"},
      {R"({"command":"x","env":["A"]})", local},
      {R"({"command":"x","env":"A=1"})", local},
      {R"({"command":"x","headers":{"A":"1"},"cwd":"C:\\"})", local},
      {R"({"url":"h/p","headers":{"B":"1","A":2,"a":"x y","":"z","C":["1"]}})",
       "http s: https://h/p B=1 a=x y =z | [MCP] s -> https://h/p (http)"},
      {R"({"url":"h/p","headers":["A"],"args":["x"],"env":{"A":"1"}})", remote},

      // All headers are kept; the log names those that cannot be sent.
      {R"({"url":"h/p","headers":{"A":"1\r\nB: 2","C\n":"3","D":"\t","E":"\u007f","F":"\u0085"}})",
       "http s: https://h/p A=1\r\nB: 2 C\n=3 D=\t E=\x7F F=\xC2\x85 | "
       "[MCP] s -> https://h/p (http) | "
       "[MCP] server 's': header 'A' holds a control character — not sent | "
       "[MCP] server 's': header 'C?' holds a control character — not sent | "
       "[MCP] server 's': header 'D' holds a control character — not sent | "
       "[MCP] server 's': header 'E' holds a control character — not sent | "
       "[MCP] server 's': header 'F' holds a control character — not sent"},
  };
  for (const auto& c : cases) EXPECT_EQ(Outcome(c.entry), c.want) << c.entry;
}

TEST(McpServersSetting, KeepsTheOrderAndEveryName) {
  const auto entries = ServersOf(R"({"zeta":{"command":"z"},"":{"url":"h"},"alpha":null,
                                     "zeta":{},"Büro \"1\"":{"command":"b"}})");
  std::vector<std::string> got;
  for (const auto& entry : entries) {
    got.push_back(entry.server ? Described(*entry.server) : Joined(entry.logLines));
  }
  EXPECT_EQ(got, (std::vector<std::string>{"stdio zeta: z", "http : https://h", "",
                                           "[MCP] server 'zeta' has no command or url — skipped",
                                           "stdio Büro \"1\": b"}));
}

TEST(McpServersSetting, IsReadFromAnObjectOnly) {
  for (const char* config : {R"({})", R"({"mcpServers":{}})", R"({"mcpServers":[]})",
                             R"({"mcpServers":[{"command":"x"}]})", R"({"mcpServers":null})",
                             R"({"mcpServers":"x"})", R"({"mcpservers":{"a":{}}})"}) {
    EXPECT_TRUE(ReadSettings(config)->mcpServers.empty()) << config;
  }
  EXPECT_EQ(ReadSettings(R"({"server":"x","mcpServers":{"a":null}})")->mcpServers.size(), 1u);
}

TEST(ReadSettings, GivesNothingForAnythingButAnObject) {
  for (const char* config :
       {"", " ", "[]", "\"{}\"", "{", "{} x", "\xEF\xBB\xBF{}", R"({"n":1e400})"}) {
    EXPECT_FALSE(ReadSettings(config)) << config;
  }
}

TEST(ServerSetting, IsTheTextOfTheFirstMember) {
  const struct {
    const char* config;
    std::optional<std::string> want;
  } cases[] = {
      {"{}", std::nullopt},
      {R"({"Server":"x"})", std::nullopt},
      {R"({"server":" x "})", " x "},
      {R"({"server":""})", ""},
      {R"({"server":5})", ""},
      {R"({"server":null})", ""},
      {R"({"server":"1","server":"2"})", "1"},
  };
  for (const auto& c : cases) EXPECT_EQ(ReadSettings(c.config)->server, c.want) << c.config;
}

TEST(UpdateFeedSetting, IsTheBuiltInAddressUnlessTheFileHasAnother) {
  constexpr char kBuiltIn[] = "https://releases.wendra.example/releases/win/appcast.xml";
  constexpr char kIgnoring[] = "[Update] ignoring \"updateFeed\" — expected an http/https URL";
  const struct {
    const char* why;
    std::string_view config;
    const char* address;
    const char* complaint;
  } cases[] = {
      {"no file", "", kBuiltIn, ""},
      {"no key", "{}", kBuiltIn, ""},
      {"http", R"({"updateFeed":"http://x/y"})", "http://x/y", ""},
      {"https", R"({"updateFeed":"https://x/y?z#f"})", "https://x/y?z#f", ""},
      {"nothing after the prefix", R"({"updateFeed":"http://"})", "http://", ""},
      {"whitespace inside", R"({"updateFeed":"http://x y"})", "http://x y", ""},
      {"escapes", R"({"updateFeed":"http:\/\/x"})", "http://x", ""},
      {"beside other keys", R"({"server":"a","updateFeed":"http://x","b":[]})", "http://x", ""},
      {"the first of two", R"({"updateFeed":"http://1","updateFeed":"http://2"})", "http://1", ""},
      {"whitespace around the object", " \t\r\n{\"updateFeed\":\"http://x\"} \t\r\n", "http://x",
       ""},
      {"ftp", R"({"updateFeed":"ftp://x"})", kBuiltIn, kIgnoring},
      {"capitals", R"({"updateFeed":"HTTPS://x"})", kBuiltIn, kIgnoring},
      {"mixed case", R"({"updateFeed":"Http://x"})", kBuiltIn, kIgnoring},
      {"whitespace in front", R"({"updateFeed":" https://x"})", kBuiltIn, kIgnoring},
      {"whitespace only", R"({"updateFeed":" "})", kBuiltIn, kIgnoring},
      {"one slash", R"({"updateFeed":"http:/x"})", kBuiltIn, kIgnoring},
      {"no scheme", R"({"updateFeed":"x/y"})", kBuiltIn, kIgnoring},
      {"a path", R"({"updateFeed":"C:\\feed.xml"})", kBuiltIn, kIgnoring},
      {"empty text", R"({"updateFeed":""})", kBuiltIn, ""},
      {"a number", R"({"updateFeed":5})", kBuiltIn, ""},
      {"null", R"({"updateFeed":null})", kBuiltIn, ""},
      {"an array", R"({"updateFeed":["http://x"]})", kBuiltIn, ""},
      {"an object", R"({"updateFeed":{"url":"http://x"}})", kBuiltIn, ""},
      {"other case of the key", R"({"updatefeed":"http://x"})", kBuiltIn, ""},
      {"inside another object", R"({"a":{"updateFeed":"http://x"}})", kBuiltIn, ""},
      {"no object at the top", R"(["updateFeed","http://x"])", kBuiltIn, ""},
      {"text after the object", R"({"updateFeed":"http://x"} x)", kBuiltIn, ""},
      {"broken", R"({"updateFeed":"http://x")", kBuiltIn, ""},
      {"a byte order mark", "\xEF\xBB\xBF{\"updateFeed\":\"http://x\"}", kBuiltIn, ""},
      {"a number out of range", R"({"updateFeed":"http://x","n":1e400})", kBuiltIn, ""},
  };
  for (const auto& c : cases) {
    const Settings got = ReadSettings(c.config).value_or(DefaultSettings());
    EXPECT_EQ(got.updateFeed, c.address) << c.why;
    EXPECT_EQ(got.updateFeedComplaint, c.complaint) << c.why;
  }
}

TEST(WithSavedServer, MovesServerToTheEndAndKeepsTheRest) {
  constexpr std::string_view kUrl = "http://localhost:3000";
  const struct {
    const char* why;
    std::string_view before, after;
  } cases[] = {
      {"order kept, server last",
       "{\r\n \"mcpServers\": {\"a\": {\"x\": 1.50}},\r\n \"server\": \"old\", \"updateFeed\": "
       "\"f\"}",
       "{\"mcpServers\":{\"a\":{\"x\":1.50}},\"updateFeed\":\"f\","
       "\"server\":\"http://localhost:3000\"}\r\n"},
      {"every duplicate of the key goes", "{\"server\":1,\"b\":2,\"server\":3}",
       "{\"b\":2,\"server\":\"http://localhost:3000\"}\r\n"},
      {"the key is case-sensitive", "{\"Server\":1}",
       "{\"Server\":1,\"server\":\"http://localhost:3000\"}\r\n"},
      {"duplicates of other keys stay", "{\"a\":1,\"a\":2}",
       "{\"a\":1,\"a\":2,\"server\":\"http://localhost:3000\"}\r\n"},
      {"an array is given up", "[1,2]", "{\"server\":\"http://localhost:3000\"}\r\n"},
      {"broken text is given up", "{\"a\":", "{\"server\":\"http://localhost:3000\"}\r\n"},
      {"a number out of range is broken text", "{\"a\":1e400}",
       "{\"server\":\"http://localhost:3000\"}\r\n"},
      {"no text", "", "{\"server\":\"http://localhost:3000\"}\r\n"},
      {"the default content", "{\r\n  \"mcpServers\": {}\r\n}\r\n",
       "{\"mcpServers\":{},\"server\":\"http://localhost:3000\"}\r\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(WithSavedServer(c.before, kUrl), c.after) << c.why;
}

TEST(WithSavedServer, EscapesTheAddressAsAnyString) {
  EXPECT_EQ(WithSavedServer("", "http://localhost/\"ü\""),
            "{\"server\":\"http://localhost/\\\"ü\\\"\"}\r\n");
}

}  // namespace
}  // namespace wendra
