// Starts the MCP servers of a config.json as the main window does, lists their tools twice, and
// stops them; prints the times in milliseconds as JSON. Started by mcp_start_bench.mjs.
//
//   mcp_start CONFIG
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>

#include "mcp/mcp_client_win.h"
#include "mcp/tool_actions.h"
#include "tests/bench/import_hook_win.h"
#include "tests/support/recording_log.h"
#include "tests/support/recording_page.h"
#include "tests/support/test_window_win.h"
#include "win/messages.h"
#include "win/owned_message.h"

namespace wendra {
namespace {

using Clock = std::chrono::steady_clock;

double MsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double MsOf(const std::function<void()>& work) {
  const auto start = Clock::now();
  work();
  return MsSince(start);
}

double createdMs = 0;  // spent in CreateProcessW so far
decltype(&CreateProcessW) realCreateProcess = nullptr;

BOOL WINAPI TimedCreateProcess(const wchar_t* program, wchar_t* commandLine,
                               SECURITY_ATTRIBUTES* process, SECURITY_ATTRIBUTES* thread,
                               BOOL inherits, DWORD flags, void* environment,
                               const wchar_t* directory, STARTUPINFOW* startup,
                               PROCESS_INFORMATION* information) {
  BOOL isCreated = FALSE;
  DWORD error = 0;
  createdMs += MsOf([&] {
    isCreated = realCreateProcess(program, commandLine, process, thread, inherits, flags,
                                  environment, directory, startup, information);
    error = GetLastError();
  });
  SetLastError(error);
  return isCreated;
}

// The main window as far as MCP servers know it.
class Host {
 public:
  explicit Host(const wchar_t* configPath)
      : config_(configPath, log_),
        client_(config_, log_),
        window_([this](UINT message, WPARAM wparam, LPARAM lparam) {
          OnMessage(message, wparam, lparam);
        }) {}

  void Start() { client_.Start(window_.Handle()); }
  void Stop() { client_.Stop(); }
  void WaitForFarewells() { client_.WaitForFarewells(); }

  // From the page's request to its reply. The longest that one message held the window up meanwhile
  // is kept.
  double List() {
    const size_t replies = page_.scripts.size();
    return MsOf([&] {
      list_.run("list", Json::Array());
      MSG message;
      while (page_.scripts.size() == replies && GetMessageW(&message, nullptr, 0, 0)) {
        longestMs_ = std::max(longestMs_, MsOf([&] { DispatchMessageW(&message); }));
      }
    });
  }

  double LongestMs() const { return longestMs_; }

 private:
  void OnMessage(UINT message, WPARAM wparam, LPARAM lparam) {
    auto& server = *reinterpret_cast<McpServer*>(wparam);  // only where the message says so
    if (message == kMcpMessage) client_.OnMessage(server, TakeOwned<std::string>(lparam));
    if (message == kMcpClosedMessage) client_.OnClosed(server);
    if (message == kHttpPostedMessage) client_.OnHttpPosted(server, *TakeOwned<HttpPosted>(lparam));
    if (message == WM_TIMER) client_.OnTimer(wparam);
  }

  RecordingLog log_;
  ConfigFile config_;
  McpClient client_;
  RecordingPage page_;
  Replies replies_{page_};
  Action list_ = McpServersAction(
      replies_, [this] { return std::span(client_.Registry().Servers()); }, client_.Session());
  double longestMs_ = 0;
  TestWindow window_;
};

}  // namespace

int Main(const wchar_t* configPath) {
  realCreateProcess = HookImport("CreateProcessW", &TimedCreateProcess);
  if (!realCreateProcess) return 1;
  Host host(configPath);
  const double startMs = MsOf([&] { host.Start(); });
  const double coldMs = host.List();
  const double warmMs = host.List();
  const double stopMs = MsOf([&] { host.Stop(); });
  std::printf(
      R"({"startMs":%.1f,"createdMs":%.1f,"coldMs":%.1f,"warmMs":%.1f,"longestMs":%.1f,"stopMs":%.1f})"
      "\n",
      startMs, createdMs, coldMs, warmMs, host.LongestMs(), stopMs);
  std::fflush(stdout);
  host.WaitForFarewells();
  return 0;
}

}  // namespace wendra

int wmain(int argc, wchar_t** argv) { return argc == 2 ? wendra::Main(argv[1]) : 2; }
