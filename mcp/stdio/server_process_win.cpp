#include "mcp/stdio/server_process_win.h"

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mcp/stdio/command_line.h"
#include "mcp/stdio/system_win.h"
#include "win/child_process.h"
#include "win/environment.h"
#include "win/unique.h"
#include "win/wide.h"

namespace wendra {
namespace {

class SystemPipe : public Pipe {
 public:
  explicit SystemPipe(KernelHandle handle) : handle_(std::move(handle)) {}

  std::size_t Read(char* buffer, std::size_t bytes) override {
    DWORD got = 0;
    if (isCancelled_) return 0;
    if (!ReadFile(handle_.Get(), buffer, static_cast<DWORD>(bytes), &got, nullptr)) return 0;
    return got;
  }

  void Write(std::string_view bytes) override {
    DWORD written = 0;
    if (isCancelled_) return;
    (void)WriteFile(handle_.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                    nullptr);
  }

  // This does not reach a thread that has read the flag but has not called the system yet. That
  // thread finds the pipe broken, since the child, which has the other end, is ended too.
  void Cancel() override {
    isCancelled_ = true;
    (void)CancelIoEx(handle_.Get(), nullptr);
  }

 private:
  const KernelHandle handle_;
  std::atomic<bool> isCancelled_ = false;
};

class SystemChild : public ChildProcess {
 public:
  SystemChild(KernelHandle process, KernelHandle job)
      : process_(std::move(process)), job_(std::move(job)) {}

  void Terminate() override {
    (void)TerminateProcess(process_.Get(), 0);
    process_.Reset();
  }

  void EndTree() override { job_.Reset(); }

 private:
  KernelHandle process_;
  KernelHandle job_;  // its processes end when its last handle is closed
};

std::vector<std::wstring> WideArguments(const ServerSettings& settings) {
  std::vector<std::wstring> wide;
  wide.reserve(settings.args.size());
  for (const std::string& argument : settings.args) wide.push_back(Widen(argument));
  return wide;
}

// A job whose processes end when its last handle is closed. Empty: the system made no such job.
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

// The start of the log line that says why there is no command line for this program.
std::string Refusal(const std::string& program) {
  if (!IsBatchScript(Widen(program)))
    return "launch failed: a program takes no argument with a zero: ";
  return "launch failed: a batch file takes no argument with a line break or a zero: ";
}

// The line for the log if the child did not start; "" if it did.
std::string Complaint(const Launch& launch, const std::string& program) {
  if (launch.commandLine.empty()) return Refusal(program) + program;
  if (launch.child.start == ChildStart::kNoPipes) return "failed to create pipes";
  if (launch.child.start == ChildStart::kStarted) return {};
  return "launch failed: " + Narrow(launch.commandLine);
}

// Starts `settings.command`, or the file beside it; see StartStdioServer.
Launch LaunchServer(ServerSettings& settings, const KernelHandle& job) {
  const std::vector<std::wstring> arguments = WideArguments(settings);
  const std::wstring environment = ChildEnvironmentBlock(settings.env);
  Launch launch = LaunchProgram(Widen(settings.command), arguments, environment, job);
  if (launch.child.reason != ERROR_BAD_EXE_FORMAT) return launch;
  const std::wstring program =
      FindWithExtension(Widen(settings.command), SystemEnvironment(), SystemFiles());
  if (program.empty()) return launch;
  settings.command = Narrow(program);
  return LaunchProgram(program, arguments, environment, job);
}

}  // namespace

std::optional<McpChild> StartStdioServer(ServerSettings& settings, Log& log) {
  const std::string tag = "[MCP " + settings.name + "] ";
  KernelHandle job = MakeKillingJob();
  Launch launch = LaunchServer(settings, job);
  if (const std::string complaint = Complaint(launch, settings.command); !complaint.empty()) {
    log.Line(tag + complaint);
    return std::nullopt;
  }
  log.Line(tag + "started " + settings.command);
  if (!launch.child.isInJob) {
    log.Line(tag + "could not be tied to Wendra: its processes may outlive it");
  }
  McpChild child;
  child.process = std::make_unique<SystemChild>(std::move(launch.child.process), std::move(job));
  child.input = std::make_shared<SystemPipe>(std::move(launch.child.input));
  child.output = std::make_shared<SystemPipe>(std::move(launch.child.output));
  child.error = std::make_shared<SystemPipe>(std::move(launch.child.error));
  return child;
}

}  // namespace wendra
