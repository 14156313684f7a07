// Starts the MCP servers of a config.json as the main window does, lists their tools twice, and
// stops them. Prints the times in milliseconds as JSON. Started by mcp_start_bench.mjs.
//
//   mcp_start CONFIG
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>

#include "devruntime/failing_calls/import_table_win.h"
#include "mcp/tools/tool_actions.h"
#include "tests/bench/mcp_window_win.h"
#include "tests/support/recording_page.h"

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

double createdMs = 0;  // time in CreateProcessW so far
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

// Lists the tools of all servers, with the action that the page uses.
class Lister {
 public:
  explicit Lister(McpClient& client)
      : list_(McpServersAction(replies_, [&client] { return client.Servers(); })) {}

  // The milliseconds from the page's request to its reply. Also keeps the longest time that one
  // message took.
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
  RecordingPage page_;
  Replies replies_{page_};
  Action list_;
  double longestMs_ = 0;
};

}  // namespace

int Main(const wchar_t* configPath) {
  if (!RedirectImport("CreateProcessW", &TimedCreateProcess, realCreateProcess)) return 1;
  McpWindow window(configPath);
  McpClient& client = window.Client();
  const double startMs = MsOf([&] { window.Start(); });
  Lister lister(client);
  const double coldMs = lister.List();
  const double warmMs = lister.List();
  const double stopMs = MsOf([&] { client.Stop(); });
  std::printf(
      R"({"startMs":%.1f,"createdMs":%.1f,"coldMs":%.1f,"warmMs":%.1f,"longestMs":%.1f,"stopMs":%.1f})"
      "\n",
      startMs, createdMs, coldMs, warmMs, lister.LongestMs(), stopMs);
  std::fflush(stdout);
  client.WaitForSessionEnds();
  return 0;
}

}  // namespace wendra

int wmain(int argc, wchar_t** argv) { return argc == 2 ? wendra::Main(argv[1]) : 2; }
