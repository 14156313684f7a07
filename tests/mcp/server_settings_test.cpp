#include "mcp/server_settings.h"

#include <gtest/gtest.h>

namespace wendra {
namespace {

Json Parsed(std::string_view text) {
  Json value;
  EXPECT_TRUE(Parse(text, value)) << text;
  return value;
}

// Finds every command except "missing".
std::string Resolve(const std::string& command) {
  return command == "missing" ? "" : "C:\\bin\\" + command;
}

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

// The server and the log lines that the entry "s" gives.
std::string Outcome(const std::string& value) {
  const auto entries = ReadServerEntries(Parsed("{\"s\":" + value + "}"), Resolve);
  EXPECT_EQ(entries.size(), 1u);
  const auto& entry = entries.at(0);
  const std::string log = Joined(entry.logLines);
  if (!entry.server) return log;
  return Described(*entry.server) + (log.empty() ? "" : " | ") + log;
}

TEST(ReadServerEntries, MakesAServerOrALogLineOfEachEntry) {
  const std::string disabled = "[MCP] server 's' is disabled — skipped";
  const std::string badUrl = "[MCP] server 's' has an invalid url — skipped";
  const std::string neither = "[MCP] server 's' has no command or url — skipped";
  const std::string local = "stdio s: C:\\bin\\x";
  const std::string remote = "http s: https://h/p | [MCP] s -> https://h/p (http)";
  const struct {
    std::string entry, want;
  } cases[] = {
      // No object: no server and no log line.
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

      {R"({"command":"missing"})", "[MCP] server 's': command not found: missing"},
      {R"({"command":"%X%\\ü \"y\""})", "stdio s: C:\\bin\\%X%\\ü \"y\""},
      {R"({"command":" "})", "stdio s: C:\\bin\\ "},
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

      // Every header is kept; the log names those that cannot be sent.
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

TEST(ReadServerEntries, KeepsTheOrderAndEveryName) {
  const auto entries = ReadServerEntries(
      Parsed(R"({"zeta":{"command":"z"},"":{"url":"h"},"alpha":null,"zeta":{"command":"missing"},
                 "Büro \"1\"":{"command":"b"}})"),
      Resolve);
  std::vector<std::string> got;
  for (const auto& entry : entries) {
    got.push_back(entry.server ? Described(*entry.server) : Joined(entry.logLines));
  }
  EXPECT_EQ(got, (std::vector<std::string>{"stdio zeta: C:\\bin\\z", "http : https://h", "",
                                           "[MCP] server 'zeta': command not found: missing",
                                           "stdio Büro \"1\": C:\\bin\\b"}));
}

TEST(ReadServerEntries, ResolvesTheCommandsOfLocalServersOnly) {
  std::vector<std::string> asked;
  const auto resolve = [&](const std::string& command) {
    asked.push_back(command);
    return std::string("C:\\x");
  };
  (void)ReadServerEntries(Parsed(R"({"a":{"command":"1","enabled":false},"b":{"command":"2"},
                                     "c":{"command":"3","url":"?"},"d":{"command":"4"}})"),
                          resolve);
  EXPECT_EQ(asked, (std::vector<std::string>{"2", "4"}));
}

TEST(FindConfiguredServers, NeedsAnObjectWithAMember) {
  const struct {
    std::string config;
    bool found;
  } cases[] = {
      {R"({})", false},
      {R"({"mcpServers":{}})", false},
      {R"({"mcpServers":[]})", false},
      {R"({"mcpServers":[{"command":"x"}]})", false},
      {R"({"mcpServers":null})", false},
      {R"({"mcpServers":"x"})", false},
      {R"({"mcpservers":{"a":{}}})", false},
      {R"({"server":"x","mcpServers":{"a":null}})", true},
  };
  for (const auto& c : cases) {
    const Json config = Parsed(c.config);
    EXPECT_EQ(FindConfiguredServers(config), c.found ? config.Find("mcpServers") : nullptr)
        << c.config;
  }
}

}  // namespace
}  // namespace wendra
