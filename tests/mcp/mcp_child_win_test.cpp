// Tests mcp_child, the MCP server that other tests start.
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "mcp/stdio/command_line.h"
#include "tests/support/run_child_win.h"
#include "tests/support/scratch_folder_win.h"

namespace wendra {
namespace {

constexpr char kInput[] =
    R"({"jsonrpc":"2.0","method":"initialize","id":"1"})"
    "\n"
    R"({"jsonrpc":"2.0","method":"notifications/initialized"})"
    "\n"
    R"({"jsonrpc":"2.0","method":"tools/call","id":"2","params":{"name":"fill","arguments":{"bytes":3}}})"
    "\n"
    R"({"jsonrpc":"2.0","method":"tools/call","id":3,"params":{"name":"args","arguments":{}}})"
    "\n";

std::wstring LineFor(const std::vector<std::wstring>& words) {
  return *ChildCommandLine(BuiltProgram(L"mcp_child.exe"), words);
}

TEST(McpChild, FollowsItsArguments) {
  const std::string greeting =
      R"({"jsonrpc":"2.0","id":"1","result":{"protocolVersion":"2024-11-05","capabilities":{"tools":{}},)"
      R"("serverInfo":{"name":"mcp_child","version":"1"}}})"
      "\n";
  const auto text = [](const std::string& id, const std::string& content) {
    return R"({"jsonrpc":"2.0","id":)" + id + R"(,"result":{"content":[{"type":"text","text":")" +
           content + R"("}]}})" + "\n";
  };
  const std::string first = text("\"2\"", "xxx");
  const struct {
    std::vector<std::wstring> words;
    std::string output;
    DWORD exitCode;
  } cases[] = {
      {{}, greeting + first + text("3", ""), 0},
      {{L"rest", L"crash", L"ü"}, greeting + first + text("3", "rest\\ncrash\\nü\\n"), 0},
      {{L"exit", L"3"}, "", 3},
      {{L"start", L"crash"}, "", 0xC0000005},
      {{L"initialize", L"exit", L"4"}, "", 4},
      {{L"initialize", L"call"}, "", 0},
      {{L"call", L"answer", L"call", L"exit", L"5"}, greeting + first, 5},
      {{L"call", L"answer", L"answer", L"call"}, greeting + first + first, 0},
      {{L"call", L"answer-as", L"\"9\""},
       greeting + text("\"9\"", "xxx") + text("\"9\"", "call\\nanswer-as\\n\\\"9\\\"\\n"),
       0},
      {{L"call", L"answer-of", L"100", L"call"},
       greeting + text("\"2\"", std::string(101 - text("\"2\"", "").size(), 'x')),
       0},
      {{L"call", L"result", L"{\"x\":1e400}", L"call"},
       greeting + "{\"jsonrpc\":\"2.0\",\"id\":\"2\",\"result\":{\"x\":1e400}}\n",
       0},
      {{L"call", L"nest", L"3", L"call"},
       greeting + "{\"jsonrpc\":\"2.0\",\"id\":\"2\",\"result\":[[[]]]}\n",
       0},
      {{L"call", L"error", L"\"no\"", L"call"},
       greeting + "{\"jsonrpc\":\"2.0\",\"id\":\"2\",\"error\":{\"code\":-32000,"
                  "\"message\":\"\\\"no\\\"\"}}\n",
       0},
      {{L"call", L"line", L"<$ID,$BARE>", L"text", L"x", L"bytes", L"C30a", L"fill", L"2", L"call"},
       greeting + "<\"2\",2>\nx\xC3\nxx",
       0},
      {{L"call", L"text", L"<", L"times", L"3", L"text", L"x", L"bytes", L"2d", L"call"},
       greeting + "<x-x-x-",
       0},
      {{L"hold", L"initialize", L"answer", L"flush", L"bytewise", L"call", L"answer", L"call"},
       greeting + first,
       0},
      {{L"initialize", L"answer", L"close", L"end", L"exit", L"6"}, greeting, 6},
      {{L"err", L"100", L"end", L"text", L"bye"},
       greeting + first + text("3", "err\\n100\\nend\\ntext\\nbye\\n") + "bye",
       0},
      {{L"misbehave"}, "", 97},
  };
  for (const auto& c : cases) {
    const std::wstring line = LineFor(c.words);
    const ChildRun run = RunToEnd({.commandLine = line}, kInput);
    EXPECT_EQ(run.output, c.output) << Narrow(line);
    EXPECT_EQ(run.exitCode, c.exitCode) << Narrow(line);
  }
}

TEST(McpChild, RecordsItsInput) {
  const ScratchFolder folder;
  const std::wstring file = folder / L"sent";
  (void)RunToEnd({.commandLine = LineFor({L"record", file})}, kInput);
  std::ifstream stream(std::filesystem::path(file), std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), kInput);
}

}  // namespace
}  // namespace wendra
