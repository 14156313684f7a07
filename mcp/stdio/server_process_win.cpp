#include "mcp/stdio/server_process_win.h"

#include <string>
#include <utility>
#include <vector>

#include "mcp/stdio/command_line.h"
#include "mcp/stdio/system_win.h"
#include "win/child_process.h"
#include "win/environment.h"
#include "win/wide.h"

namespace wendra {
namespace {

std::vector<std::wstring> WideArguments(const McpServer& server) {
  std::vector<std::wstring> wide;
  wide.reserve(server.args.size());
  for (const std::string& argument : server.args) wide.push_back(Widen(argument));
  return wide;
}

// A job whose processes end with its last handle; empty where the system gives none that does.
KernelHandle MakeKillingJob() {
  KernelHandle job(CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  const bool isKilling = SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation,
                                                 &limits, sizeof(limits));
  return isKilling ? std::move(job) : KernelHandle();
}

struct Launch {
  Child child;
  std::wstring commandLine;  // "" when an argument was refused
};

Launch LaunchProgram(const std::wstring& program, const std::vector<std::wstring>& arguments,
                     const std::wstring& environment, const KernelHandle& job) {
  Launch launch;
  const bool isBatch = IsBatchScript(program);
  const ShellSettings shell = isBatch ? SystemShellSettings() : ShellSettings::kUsual;
  auto commandLine = ChildCommandLine(program, arguments, shell);
  if (!commandLine) return launch;
  launch.commandLine = std::move(*commandLine);
  launch.child = StartChild({
      .program = isBatch ? SystemShell() : program,
      .commandLine = launch.commandLine,
      .directory = EnvironmentText(L"USERPROFILE"),
      .environment = environment.c_str(),
      .job = job.Get(),
  });
  return launch;
}

// Why there is no command line for this program.
std::string Refusal(const std::string& program) {
  if (!IsBatchScript(Widen(program)))
    return "launch failed: a program takes no argument with a zero: ";
  return "launch failed: a batch file takes no argument with a line break or a zero: ";
}

}  // namespace

std::optional<ServerProcess> StartServerProcess(McpServer& server, Log& log) {
  const std::string tag = "[MCP " + server.name + "] ";
  const std::vector<std::wstring> arguments = WideArguments(server);
  const std::wstring environment = ChildEnvironmentBlock(server.env);
  ServerProcess process;
  process.job = MakeKillingJob();
  Launch launch = LaunchProgram(Widen(server.command), arguments, environment, process.job);
  if (launch.child.reason == ERROR_BAD_EXE_FORMAT) {
    const std::wstring program =
        FindWithExtension(Widen(server.command), SystemEnvironment(), SystemFiles());
    if (!program.empty()) {
      server.command = Narrow(program);
      launch = LaunchProgram(program, arguments, environment, process.job);
    }
  }

  if (launch.commandLine.empty()) {
    log.Line(tag + Refusal(server.command) + server.command);
    return std::nullopt;
  }
  if (launch.child.start == ChildStart::kNoPipes) {
    log.Line(tag + "failed to create pipes");
    return std::nullopt;
  }
  if (launch.child.start != ChildStart::kStarted) {
    log.Line(tag + "launch failed: " + Narrow(launch.commandLine));
    return std::nullopt;
  }

  process.isInJob = launch.child.isInJob;
  process.process = std::move(launch.child.process);
  process.input = std::move(launch.child.input);
  process.output = std::move(launch.child.output);
  process.error = std::move(launch.child.error);
  return process;
}

}  // namespace wendra
