#include "mcp/tools/tool_actions.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

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

TEST_F(ToolActions, MakesEachHandshakeBeforeItsList) {
  McpServer& local = Add("l");
  McpServer& remote = Add("r", TransportKind::kHttp);
  local.initialized = remote.initialized = false;
  auto& http = static_cast<RecordingTransport&>(*remote.transport);
  http.keepsOrder = false;
  listing.run("r", Json());
  session.HandleMcpText(remote, R"({"id":"2","result":{}})");
  session.HandleMcpText(local, R"({"id":"1","error":{"code":-32000}})");
  EXPECT_EQ(page.scripts, Record());
  record.clear();
  http.held.at(0)(202);
  EXPECT_EQ(record, (Record{R"(r <- {"jsonrpc":"2.0","method":"tools/list","id":"3","params":{}})",
                            "start 103 30000"}));
  session.HandleMcpText(remote, R"({"id":"3","result":{"tools":[]}})");
  EXPECT_EQ(OnlyReply(), R"([{"name":"l","command":"","error":"MCP server failed"},)"
                         R"({"name":"r","command":"","tools":[]}])");
}

TEST_F(ToolActions, SaysWhyAListFailed) {
  McpServer& server = Add("s");
  const struct {
    const char* error;
    const char* want;
  } cases[] = {
      {R"({"code":-32601,"message":"Method not found"})", "Method not found"},
      {R"({"message":""})", ""},
      {R"({"message":5})", "MCP server failed"},
      {R"({})", "MCP server failed"},
      {R"("text")", "MCP server failed"},
      {R"(null)", "MCP server failed"},
  };
  int id = 0;
  for (const auto& c : cases) {
    listing.run("r", Json());
    const std::string reply = R"({"id":")" + std::to_string(++id) + R"(","error":)";
    session.HandleMcpText(server, reply + c.error + "}");
    EXPECT_EQ(OnlyReply(), std::string(R"([{"name":"s","command":"","error":")") + c.want + "\"}]");
  }
}

TEST_F(ToolActions, RepliesOnceWhenNoServerRuns) {
  Add("s").running = false;
  Add("t").running = false;
  listing.run("r", Json());
  EXPECT_EQ(OnlyReply(), R"([{"name":"s","command":"","error":"MCP server 's' is not running"},)"
                         R"({"name":"t","command":"","error":"MCP server 't' is not running"}])");
}

TEST_F(ToolActions, FinishesAListOfServersThatWereReplaced) {
  McpServer& server = Add("s");
  listing.run("r", Json());
  server.running = false;
  servers.clear();
  Add("s");
  EXPECT_EQ(page.scripts, Record());
  session.OnTimer(101);
  EXPECT_EQ(OnlyReply(), R"([{"name":"s","command":"","error":"MCP request timed out"}])");
}

TEST_F(ToolActions, AnswersTheRequestThatAsked) {
  McpServer& server = Add("s");
  call.run("first", Parsed(R"(["s","t"])"));
  call.run("second", Parsed(R"(["s","t"])"));
  session.HandleMcpText(server, R"({"id":"2"})");
  session.HandleMcpText(server, R"({"id":"1"})");
  ASSERT_EQ(page.scripts.size(), 2u);
  EXPECT_NE(page.scripts[0].find("'second'"), std::string::npos);
  EXPECT_NE(page.scripts[1].find("'first'"), std::string::npos);
}

}  // namespace
}  // namespace wendra
