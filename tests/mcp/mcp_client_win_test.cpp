#include "mcp/mcp_client_win.h"

#include <fstream>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "json/json.h"
#include "mcp/tools/tool_actions.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/recording_log.h"
#include "tests/support/recording_page.h"
#include "tests/support/run_child_win.h"
#include "tests/support/scratch_folder_win.h"
#include "tests/support/test_window_win.h"

#include <psapi.h>

namespace wendra {
namespace {

// The program's own times are 30 seconds and more; the system's timers run a thousand times as
// fast.
constexpr UINT kFaster = 1000;
decltype(&SetTimer) realSetTimer = nullptr;
std::vector<UINT> periodsMs;

UINT_PTR WINAPI SetFasterTimer(HWND window, UINT_PTR id, UINT periodMs, TIMERPROC procedure) {
  periodsMs.push_back(periodMs);
  return realSetTimer(window, id, periodMs / kFaster, procedure);
}

void WriteConfig(const std::wstring& path, const std::wstring& program) {
  Json args = Json::Array();
  args.items.emplace_back("read");  // takes every message and answers none
  Json server = Json::Object();
  server.members.emplace_back("command", Json(Narrow(program)));
  server.members.emplace_back("args", std::move(args));
  Json servers = Json::Object();
  servers.members.emplace_back("mute", std::move(server));
  Json config = Json::Object();
  config.members.emplace_back("mcpServers", std::move(servers));
  std::string text;
  Serialize(config, text);
  std::ofstream(std::filesystem::path(path), std::ios::binary) << text;
}

size_t WorkingSetBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  EXPECT_TRUE(GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters)));
  return counters.WorkingSetSize;
}

TEST(McpClient, FreesEveryMessage) {
  constexpr size_t kMessageBytes = 1 << 20;
  constexpr int kMessages = 100;
  RecordingLog log;
  ConfigFile config(L"", log);
  McpClient client(config, log);
  McpServer stopped;
  const auto take = [&] {
    client.OnMessage(stopped, std::make_unique<std::string>(kMessageBytes, 'x'));
  };
  take();
  const size_t before = WorkingSetBytes();
  for (int i = 0; i < kMessages; ++i) take();
  EXPECT_LT(WorkingSetBytes(), before + kMessages / 2 * kMessageBytes);
}

TEST(McpClient, EndsARequestWhenItsTimeIsOverThoughTheServerSaysNothing) {
  realSetTimer = HookImport("SetTimer", &SetFasterTimer, L"user32.dll");
  ASSERT_NE(realSetTimer, nullptr);
  ScratchFolder folder;
  RecordingLog log;
  ConfigFile config(folder / L"config.json", log);
  WriteConfig(config.Path(), BuiltProgram(L"test_child.exe"));
  RecordingPage page;
  Replies replies(page);
  McpClient client(config, log);
  const TestWindow window([&](UINT message, WPARAM wparam, LPARAM) {
    if (message == WM_TIMER) client.OnTimer(wparam);
  });
  client.Start(window.Handle());

  const Action list = McpServersAction(
      replies, [&] { return std::span<McpServer* const>(client.Registry().Servers()); },
      client.Session());
  list.run("r1", Json::Array());
  EXPECT_TRUE(TestWindow::PumpUntil([&] { return !page.scripts.empty(); })) << "no reply";
  EXPECT_EQ(periodsMs, std::vector<UINT>{45'000});  // of the handshake
  ASSERT_EQ(page.scripts.size(), 1u);
  EXPECT_NE(page.scripts[0].find("\"error\":\"MCP request timed out\""), std::string::npos)
      << page.scripts[0];
  client.Stop();
}

}  // namespace
}  // namespace wendra
