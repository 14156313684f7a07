// Starts one local MCP server with the code of the program, and runs until it is killed. A test
// then checks that nothing of the server is left.
//
//   mcp_host PROGRAM [ARGUMENT...]
//
// Exit code 1: the server could not be started.
#include "base/log.h"
#include "mcp/stdio/server_process_win.h"
#include "win/wide.h"

#include <windows.h>

namespace {

class NoLog : public wendra::Log {
 public:
  void Line(std::string_view) override {}
  void LineFromAnyThread(std::string_view) override {}
};

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count < 2) return 1;
  NoLog log;
  wendra::ServerSettings settings;
  settings.name = "test";
  settings.command = wendra::Narrow(arguments[1]);
  for (int i = 2; i < count; ++i) settings.args.push_back(wendra::Narrow(arguments[i]));
  const auto child = wendra::StartStdioServer(settings, log);
  if (!child) return 1;
  Sleep(INFINITE);
  return 0;
}
