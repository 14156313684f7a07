#include "mcp/tool_actions.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "mcp/tool_list.h"
#include "tests/support/recording_log.h"
#include "tests/support/recording_page.h"
#include "tests/support/recording_transport.h"

namespace wendra {
namespace {

Json Parsed(const std::string& text) {
  Json value;
  EXPECT_TRUE(Parse(text, value)) << text;
  return value;
}

// A page that calls the two actions, and servers that a test answers for.
class ToolActions : public testing::Test {
 protected:
  McpServer& Add(const std::string& name, TransportKind kind = TransportKind::kStdio) {
    auto& server = *owned_.emplace_back(std::make_unique<McpServer>());
    server.name = name;
    server.kind = kind;
    server.running = true;
    server.initialized = true;
    server.transport = std::make_unique<RecordingTransport>(name, record);
    servers.push_back(&server);
    return server;
  }

  void Call(const std::string& args) { call.run("r", Parsed(args)); }

  // The value of the only reply there is.
  std::string OnlyReply() {
    EXPECT_EQ(page.scripts.size(), 1u);
    if (page.scripts.empty()) return {};
    const std::string script = page.scripts[0];
    const size_t start = script.find(", 1, ");
    page.scripts.clear();
    const size_t end = script.rfind(") : ");
    return start == script.npos ? script : script.substr(start + 5, end - start - 5);
  }

  Record record;
  std::vector<McpServer*> servers;
  RecordingLog log;
  RecordingTimers timers{record};
  RecordingPage page;
  Replies replies{page};
  McpSession session{timers, log};
  ServerList list = [this] { return std::span<McpServer* const>(servers); };
  Action call = McpCallAction(replies, list, session);
  Action listing = McpServersAction(replies, list, session);

 private:
  std::vector<std::unique_ptr<McpServer>> owned_;
};

TEST_F(ToolActions, ListsNothingWithoutServers) {
  listing.run("r", Json());
  EXPECT_EQ(OnlyReply(), "[]");
}

TEST_F(ToolActions, ListsServersInTheOrderOfTheirAnswers) {
  McpServer& first = Add("My Server");
  first.command = "C:\\a.exe";
  McpServer& second = Add("remote", TransportKind::kHttp);
  second.url = "http://localhost/mcp";
  Add("gone").running = false;
  Add("silent");
  listing.run("r", Json());
  session.HandleMcpText(second, R"({"id":"2","result":{"tools":[{"name":"t","description":"d",)"
                                R"("inputSchema":{"type":"object"},"title":"x"},{"name":5},7]}})");
  session.HandleMcpText(first, R"({"id":"1","error":{"code":1}})");
  EXPECT_EQ(page.scripts, Record());
  session.OnTimer(103);
  EXPECT_EQ(
      OnlyReply(),
      R"([{"name":"gone","command":"","error":"MCP server 'gone' is not running"},)"
      R"({"name":"remote","command":"","url":"http://localhost/mcp","tools":[{"name":"t",)"
      R"("description":"d","inputSchema":{"type":"object"}},{"name":"tool"},{"name":"tool"}]},)"
      R"({"name":"my_server","command":"C:\\a.exe","error":"MCP server failed"},)"
      R"({"name":"silent","command":"","error":"MCP request timed out"}])");
}

TEST_F(ToolActions, CallsATool) {
  McpServer& server = Add("s");
  Call(R"(["s","echo",{"message":"hi"}])");
  EXPECT_EQ(
      record,
      (Record{R"(s <- {"jsonrpc":"2.0","method":"tools/call","id":"1","params":{"name":"echo",)"
              R"("arguments":{"message":"hi"}}})",
              "start 101 120000"}));
  session.HandleMcpText(server, R"({"id":"1","result":{"content":[{"type":"text","text":"ü"}]}})");
  EXPECT_EQ(OnlyReply(), R"({"text":"ü"})");
}

TEST_F(ToolActions, SendsAnEmptyObjectForArgumentsThatAreNone) {
  Add("s");
  for (const char* args :
       {R"(["s","t"])", R"(["s","t",null])", R"(["s","t","x"])", R"(["s","t",[1]])"}) {
    record.clear();
    Call(args);
    EXPECT_NE(record.at(0).find(R"("params":{"name":"t","arguments":{}})"), std::string::npos);
  }
}

TEST_F(ToolActions, SaysWhyACallFailed) {
  McpServer& server = Add("s");
  Call(R"(["t","x"])");
  EXPECT_EQ(OnlyReply(), R"({"error":"unknown MCP server 't'"})");
  Call("{}");
  EXPECT_EQ(OnlyReply(), R"({"error":"unknown MCP server ''"})");
  Call(R"(["s","x"])");
  session.FailMcpPending(server, "MCP server 's' exited unexpectedly");
  EXPECT_EQ(OnlyReply(), R"({"error":"MCP server 's' exited unexpectedly"})");
  Call(R"(["s","x"])");
  session.OnTimer(102);
  EXPECT_EQ(OnlyReply(), R"({"error":"MCP request timed out"})");
  server.running = false;
  Call(R"(["s","x"])");
  EXPECT_EQ(OnlyReply(), R"({"error":"MCP server 's' is not running"})");
}

TEST_F(ToolActions, PassesOnWhyTheHandshakeFailed) {
  McpServer& server = Add("s");
  server.initialized = false;
  Call(R"(["s","x"])");
  session.HandleMcpText(server, R"({"id":"1","error":{"message":"too old"}})");
  EXPECT_EQ(OnlyReply(), R"({"error":"too old"})");
  Call(R"(["s","x"])");
  session.HandleMcpText(server, R"({"id":"2","error":{}})");
  EXPECT_EQ(OnlyReply(), R"({"error":"MCP server failed"})");
}

TEST_F(ToolActions, FindsAServerByTheNameThatTheListShows) {
  Add("My Server");
  Add("my_server");
  Call(R"(["my_server","x"])");
  EXPECT_TRUE(record.at(0).starts_with("my_server <- ")) << "the exact name comes first";
  servers.pop_back();
  record.clear();
  Call(R"(["my_server","x"])");
  EXPECT_TRUE(record.at(0).starts_with("My Server <- "));
}

TEST(SafeServerName, KeepsWhatFitsIntoTheNameOfATool) {
  const struct {
    const char* name;
    const char* want;
  } cases[] = {{"", ""},
               {"abc-1_2", "abc-1_2"},
               {"ABC", "abc"},
               {"a b.c/d", "a_b_c_d"},
               {"grün 日", "gr_n__"}};
  for (const auto& c : cases) EXPECT_EQ(SafeServerName(c.name), c.want);
}

}  // namespace
}  // namespace wendra
