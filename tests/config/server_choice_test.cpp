#include "config/server_choice.h"

#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/recording_log.h"

namespace wendra {
namespace {

using Lines = std::vector<std::string>;

class FakeStore : public ServerStore {
 public:
  FakeStore(std::string text, Log& log) : text_(std::move(text)), log_(log) {}
  std::string ReadConfigText() override { return text_; }
  std::string ConfigPathText() override { return "C:\\c.json"; }
  void SaveChosenServer(std::string_view url) override {
    saved = url;
    log_.Line("saved");  // stands for the line that the real store logs
  }

  std::optional<std::string> saved;

 private:
  std::string text_;
  Log& log_;
};

class FakePrompt : public ServerPrompt {
 public:
  explicit FakePrompt(std::string answer) : answer_(std::move(answer)) {}
  std::string Ask() override {
    ++asked;
    return answer_;
  }

  int asked = 0;

 private:
  std::string answer_;
};

// One row of the table below.
struct Case {
  const char* why;
  // The inputs: the command line's argument ("": none), the text of config.json ("": no file) and
  // the prompt's answer ("": the user cancels).
  std::string argument, config, prompt;
  // The expected results: the chosen address ("": none), whether the prompt is shown, and the lines
  // of the log.
  std::string url;
  bool isPrompted;
  Lines lines;
};

TEST(ServerChoice, TriesTheSourcesInOrderAndLogsEveryDecision) {
  const std::string cancelled = "[Server] no server chosen — startup cancelled";
  const std::string notAnObject =
      "[Server] config.json is not a JSON object — ignoring its \"server\" entry, if any";
  const std::string notAllowed = " (only *.wendra.example or localhost servers are allowed)";
  const std::string notHttp = " (expected an http/https URL)";
  const std::string ignoringValue = "[Server] ignoring \"server\" value in C:\\c.json";
  const Case cases[] = {
      {"command line",
       "demo",
       "{\"server\":\"localhost\"}",
       "https://p",
       "https://demo.on.wendra.example",
       false,
       {"[Server] loading https://demo.on.wendra.example (from command line)"}},
      {"an argument that looks like a flag is a name",
       "--flag",
       "",
       "",
       "https://--flag.on.wendra.example",
       false,
       {"[Server] loading https://--flag.on.wendra.example (from command line)"}},
      {"host not allowed, then config",
       "https://evil.test",
       "{\"server\":\"localhost:1\"}",
       "",
       "https://localhost:1",
       false,
       {"[Server] ignoring command-line URL" + notAllowed,
        "[Server] loading https://localhost:1 (from \"server\" in C:\\c.json)"}},
      {"not http, then prompt",
       "ftp://localhost",
       "",
       "https://localhost",
       "https://localhost",
       true,
       {"[Server] ignoring invalid command-line URL" + notHttp, "saved",
        "[Server] loading https://localhost (chosen in the first-run prompt)"}},
      {"an argument of whitespace",
       "  ",
       "",
       "",
       "",
       true,
       {"[Server] ignoring invalid command-line URL" + notHttp, cancelled}},
      {"bare name in the config",
       "",
       "{\"server\":\" demo \"}",
       "",
       "https://demo.on.wendra.example",
       false,
       {"[Server] loading https://demo.on.wendra.example (from \"server\" in C:\\c.json)"}},
      {"the first of two members",
       "",
       "{\"server\":\"localhost\",\"server\":\"x\"}",
       "",
       "https://localhost",
       false,
       {"[Server] loading https://localhost (from \"server\" in C:\\c.json)"}},
      {"no config", "", "", "", "", true, {cancelled}},
      {"no member", "", "{\"mcpServers\":{}}", "", "", true, {cancelled}},
      {"other case", "", "{\"Server\":\"localhost\"}", "", "", true, {cancelled}},
      {"array", "", "[]", "", "", true, {notAnObject, cancelled}},
      {"byte-order mark",
       "",
       "\xEF\xBB\xBF{\"server\":\"localhost\"}",
       "",
       "",
       true,
       {notAnObject, cancelled}},
      {"text after the value", "", "{} x", "", "", true, {notAnObject, cancelled}},
      {"number out of range",
       "",
       "{\"server\":\"localhost\",\"x\":1e400}",
       "",
       "",
       true,
       {notAnObject, cancelled}},
      {"a number", "", "{\"server\":5}", "", "", true, {ignoringValue + notHttp, cancelled}},
      {"null", "", "{\"server\":null}", "", "", true, {ignoringValue + notHttp, cancelled}},
      {"empty text", "", "{\"server\":\"\"}", "", "", true, {ignoringValue + notHttp, cancelled}},
      {"ftp in the config",
       "",
       "{\"server\":\"ftp://localhost\"}",
       "",
       "",
       true,
       {ignoringValue + notHttp, cancelled}},
      {"foreign host in the config",
       "",
       "{\"server\":\"https://evil.test\"}",
       "https://localhost",
       "https://localhost",
       true,
       {ignoringValue + notAllowed, "saved",
        "[Server] loading https://localhost (chosen in the first-run prompt)"}},
  };
  for (const Case& c : cases) {
    RecordingLog log;
    FakeStore store(c.config, log);
    FakePrompt prompt(c.prompt);
    EXPECT_EQ(ServerChoice(c.argument, store, prompt, log).SelectServerAtStartup(), c.url) << c.why;
    EXPECT_EQ(log.lines, c.lines) << c.why;
    EXPECT_EQ(prompt.asked, c.isPrompted ? 1 : 0) << c.why;
    // Only an address from the prompt is saved.
    const bool isSaved = c.isPrompted && !c.prompt.empty();
    EXPECT_EQ(store.saved, isSaved ? std::optional(c.prompt) : std::nullopt) << c.why;
  }
}

TEST(ServerChoice, ConsidersTheCommandLineOnce) {
  RecordingLog log;
  FakeStore store("{\"server\":\"localhost\"}", log);
  FakePrompt prompt("");
  ServerChoice choice("demo", store, prompt, log);
  EXPECT_EQ(choice.SelectServerAtStartup(), "https://demo.on.wendra.example");
  EXPECT_EQ(choice.SelectServerAtStartup(), "https://localhost");
}

}  // namespace
}  // namespace wendra
