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

// A page that calls the two actions, and servers that the test plays.
class ToolActions : public testing::Test {
 protected:
  using Server = std::shared_ptr<Connection>;

  Server AddNew(ServerSettings settings) {
    auto transport = std::make_unique<RecordingTransport>(settings.name, record);
    transports.push_back(transport.get());
    return servers.emplace_back(
        std::make_shared<Connection>(ServerId{transports.size()}, std::move(settings),
                                     std::move(transport), numbers_, timers, log));
  }

  // A server whose handshake has completed. The handshake uses up no request ids and no timers.
  Server Add(ServerSettings settings) {
    const Server server = AddNew(std::move(settings));
    const RequestNumbers before = std::exchange(numbers_, {});
    server->EnsureMcpInitialized([](const Json*) {});
    server->HandleMcpText(R"({"id":"1"})");
    numbers_ = before;
    record.clear();
    return server;
  }
  Server Add(const std::string& name) { return Add(Named(name)); }

  static ServerSettings Named(const std::string& name, TransportKind kind = TransportKind::kStdio) {
    ServerSettings settings;
    settings.name = name;
    settings.kind = kind;
    return settings;
  }

  void OnTimer(std::uint64_t timer) {
    const std::vector<Server> all = servers;
    for (const Server& server : all) (void)server->OnTimer(timer);
  }

  void Call(const std::string& args) { call.run("r", Parsed(args)); }

  // Takes the only reply and returns its value.
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
  RecordingLog log;
  RecordingTimers timers{record};
  std::vector<Server> servers;
  RecordingPage page;
  Replies replies{page};
  ServerList list = [this] { return servers; };
  Action call = McpCallAction(replies, list);
  Action listing = McpServersAction(replies, list);
  std::vector<RecordingTransport*> transports;  // in the order of Add

 private:
  RequestNumbers numbers_;
};

TEST_F(ToolActions, ListsNothingWithoutServers) {
  listing.run("r", Json());
  EXPECT_EQ(OnlyReply(), "[]");
}

TEST_F(ToolActions, ListsServersInTheOrderOfTheirResponses) {
  ServerSettings local = Named("My Server");
  local.command = "C:\\a.exe";
  ServerSettings remote = Named("remote", TransportKind::kHttp);
  remote.url = "http://localhost/mcp";
  const Server first = Add(local);
  const Server second = Add(remote);
  (void)Add("gone")->Stop();
  Add("silent");
  listing.run("r", Json());
  second->HandleMcpText(R"({"id":"2","result":{"tools":[{"name":"t","description":"d",)"
                        R"("inputSchema":{"type":"object"},"title":"x"},{"name":5},7]}})");
  first->HandleMcpText(R"({"id":"1","error":{"code":1}})");
  EXPECT_EQ(page.scripts, Record());
  OnTimer(103);
  EXPECT_EQ(
      OnlyReply(),
      R"([{"name":"gone","command":"","error":"MCP server 'gone' is not running"},)"
      R"({"name":"remote","command":"","url":"http://localhost/mcp","tools":[{"name":"t",)"
      R"("description":"d","inputSchema":{"type":"object"}},{"name":"tool"},{"name":"tool"}]},)"
      R"({"name":"my_server","command":"C:\\a.exe","error":"MCP server failed"},)"
      R"({"name":"silent","command":"","error":"MCP request timed out"}])");
}

TEST_F(ToolActions, CallsATool) {
  const Server server = Add("s");
  Call(R"(["s","echo",{"message":"hi"}])");
  EXPECT_EQ(
      record,
      (Record{R"(s <- {"jsonrpc":"2.0","method":"tools/call","id":"1","params":{"name":"echo",)"
              R"("arguments":{"message":"hi"}}})",
              "start 101 120000"}));
  server->HandleMcpText(R"({"id":"1","result":{"content":[{"type":"text","text":"ü"}]}})");
  EXPECT_EQ(OnlyReply(), R"({"text":"ü"})");
}

TEST_F(ToolActions, SendsAnEmptyObjectForMissingArguments) {
  Add("s");
  for (const char* args :
       {R"(["s","t"])", R"(["s","t",null])", R"(["s","t","x"])", R"(["s","t",[1]])"}) {
    record.clear();
    Call(args);
    EXPECT_NE(record.at(0).find(R"("params":{"name":"t","arguments":{}})"), std::string::npos);
  }
}

TEST_F(ToolActions, SaysWhyACallFailed) {
  const Server server = Add("s");
  Call(R"(["t","x"])");
  EXPECT_EQ(OnlyReply(), R"({"error":"unknown MCP server 't'"})");
  Call("{}");
  EXPECT_EQ(OnlyReply(), R"({"error":"unknown MCP server ''"})");
  Call(R"(["s","x"])");
  server->FailMcpPending("MCP server 's' exited unexpectedly");
  EXPECT_EQ(OnlyReply(), R"({"error":"MCP server 's' exited unexpectedly"})");
  Call(R"(["s","x"])");
  OnTimer(102);
  EXPECT_EQ(OnlyReply(), R"({"error":"MCP request timed out"})");
  (void)server->Stop();
  Call(R"(["s","x"])");
  EXPECT_EQ(OnlyReply(), R"({"error":"MCP server 's' is not running"})");
}

TEST_F(ToolActions, SaysWhyTheHandshakeFailed) {
  const Server server = AddNew(Named("s"));
  Call(R"(["s","x"])");
  server->HandleMcpText(R"({"id":"1","error":{"message":"too old"}})");
  EXPECT_EQ(OnlyReply(), R"({"error":"too old"})");
  Call(R"(["s","x"])");
  server->HandleMcpText(R"({"id":"2","error":{}})");
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
  const Server local = AddNew(Named("l"));
  const Server remote = AddNew(Named("r", TransportKind::kHttp));
  transports.back()->keepsOrder = false;
  listing.run("r", Json());
  remote->HandleMcpText(R"({"id":"2","result":{}})");
  local->HandleMcpText(R"({"id":"1","error":{"code":-32000}})");
  EXPECT_EQ(page.scripts, Record());
  record.clear();
  remote->OnPosted({.status = 202, .isAwaited = true});
  EXPECT_EQ(record, (Record{R"(r <- {"jsonrpc":"2.0","method":"tools/list","id":"3","params":{}})",
                            "start 103 30000"}));
  remote->HandleMcpText(R"({"id":"3","result":{"tools":[]}})");
  EXPECT_EQ(OnlyReply(), R"([{"name":"l","command":"","error":"MCP server failed"},)"
                         R"({"name":"r","command":"","tools":[]}])");
}

TEST_F(ToolActions, SaysWhyAListFailed) {
  const Server server = Add("s");
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
    server->HandleMcpText(reply + c.error + "}");
    EXPECT_EQ(OnlyReply(), std::string(R"([{"name":"s","command":"","error":")") + c.want + "\"}]");
  }
}

TEST_F(ToolActions, RepliesOnceWhenNoServerRuns) {
  (void)Add("s")->Stop();
  (void)Add("t")->Stop();
  listing.run("r", Json());
  EXPECT_EQ(OnlyReply(), R"([{"name":"s","command":"","error":"MCP server 's' is not running"},)"
                         R"({"name":"t","command":"","error":"MCP server 't' is not running"}])");
}

TEST_F(ToolActions, FinishesAListOfServersThatWereReplaced) {
  const Server server = Add("s");
  listing.run("r", Json());
  (void)server->Stop();
  servers.clear();
  Add("s");
  EXPECT_EQ(page.scripts, Record());
  server->FailStopped();
  EXPECT_EQ(OnlyReply(), R"([{"name":"s","command":"","error":"MCP server 's' was stopped"}])");
}

TEST_F(ToolActions, RepliesToTheRequestThatAsked) {
  const Server server = Add("s");
  call.run("first", Parsed(R"(["s","t"])"));
  call.run("second", Parsed(R"(["s","t"])"));
  server->HandleMcpText(R"({"id":"2"})");
  server->HandleMcpText(R"({"id":"1"})");
  ASSERT_EQ(page.scripts.size(), 2u);
  EXPECT_NE(page.scripts[0].find("'second'"), std::string::npos);
  EXPECT_NE(page.scripts[1].find("'first'"), std::string::npos);
}

}  // namespace
}  // namespace wendra
