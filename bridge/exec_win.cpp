#include "bridge/exec_win.h"

#include <memory>
#include <string_view>
#include <utility>

#include "base/output_buffer.h"
#include "base/utf8.h"
#include "json/objects.h"
#include "win/child_process.h"
#include "win/environment.h"
#include "win/messages.h"
#include "win/owned_message.h"
#include "win/thread.h"
#include "win/wide.h"

namespace wendra {
namespace {

// The size of one read. The pipe's buffer holds 4 KiB, but one read takes a larger write of the
// command whole. This is several times as fast as reads of 4 KiB.
constexpr DWORD kReadBytes = 1 << 20;

struct ExecJob {
  std::string reqId;
  std::string directory;
  std::string command;
  HWND replyWindow;
};

struct ReadJob {
  HANDLE pipe;           // borrowed until the reader has ended
  OutputBuffer* output;  // borrowed until the reader has ended
};

// Reads until every process that holds the pipe's other end has closed it.
void ReadToEnd(HANDLE pipe, OutputBuffer& output) {
  // One buffer for all reads: new memory for each read would make the command wait.
  const std::unique_ptr<char[]> chunk(new char[kReadBytes]);
  DWORD got = 0;
  while (ReadFile(pipe, chunk.get(), kReadBytes, &got, nullptr) && got > 0) {
    output.Append({chunk.get(), got});
  }
}

void ReadThread(std::unique_ptr<ReadJob> job) { ReadToEnd(job->pipe, *job->output); }

// Commands print in UTF-8 or in the ANSI code page, and Windows does not tell which. Text that is
// not well-formed UTF-8 is taken as text of the ANSI code page.
std::string ToUtf8(std::string text) {
  if (IsWellFormedUtf8(text)) return text;
  const int bytes = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');  // no code page needs more UTF-16 units than bytes
  const int units = MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, wide.data(), bytes);
  if (units <= 0) return text;
  return Narrow(std::wstring_view(wide).substr(0, static_cast<size_t>(units)));
}

std::wstring ShellCommandLine(const std::string& command) {
  std::wstring shell = EnvironmentText(L"COMSPEC");
  if (shell.empty()) shell = L"cmd.exe";
  // With /s the shell removes only the outer quotes; quotes inside the command stay.
  return shell + L" /d /s /c \"" + Widen(command) + L"\"";
}

void ExecThread(std::unique_ptr<ExecJob> job) {
  auto result = std::make_unique<ExecResult>(RunCommand(job->directory, job->command));
  result->reqId = std::move(job->reqId);
  (void)DeliverOwned(job->replyWindow, kExecDoneMessage, 0, std::move(result));
}

}  // namespace

ExecResult RunCommand(const std::string& directory, const std::string& command) {
  ExecResult result;
  const std::wstring commandLine = ShellCommandLine(command);
  Child child = StartChild({.commandLine = commandLine, .directory = Widen(directory)});
  if (!child.process) {
    result.error = Narrow(commandLine);
    return result;
  }
  child.input.Reset();  // the host writes no input: the command sees the end of its input at once

  // Both streams are read at once: a command that fills one stream while we wait for the other
  // would never end.
  OutputBuffer output;
  OutputBuffer error;
  auto job = std::make_unique<ReadJob>(ReadJob{child.error.Get(), &error});
  const KernelHandle errorReader = StartThread<ReadThread>(job);
  ReadToEnd(child.output.Get(), output);
  if (errorReader) {
    WaitForSingleObject(errorReader.Get(), INFINITE);
  } else {
    ReadToEnd(child.error.Get(), error);  // no thread was made: one stream after the other
  }

  WaitForSingleObject(child.process.Get(), INFINITE);
  DWORD exitCode = 0;
  // If the system does not give the exit code it stays -1; 0 would mean success.
  if (GetExitCodeProcess(child.process.Get(), &exitCode)) {
    result.exitCode = static_cast<std::int32_t>(exitCode);
  }
  result.output = ToUtf8(output.Take());
  result.error = ToUtf8(error.Take());
  return result;
}

Action ExecAction(Replies& replies, std::function<HWND()> window) {
  return {
      "exec", [&replies, window = std::move(window)](const std::string& reqId, const Json& args) {
        const std::string_view command = StringArgument(args, 1);
        if (command.empty()) return replies.Fail(reqId, "exec expects [dir, command]");
        auto job = std::make_unique<ExecJob>(
            ExecJob{reqId, std::string(StringArgument(args, 0)), std::string(command), window()});
        if (StartThread<ExecThread>(job)) return;  // no code waits for this thread
        ExecResult notStarted;
        notStarted.reqId = reqId;
        notStarted.error = Narrow(ShellCommandLine(job->command));
        ReplyExec(std::move(notStarted), replies);
      }};
}

void ReplyExec(ExecResult result, Replies& replies) {
  replies.Succeed(result.reqId, MakeObject({{"exit", result.exitCode},
                                            {"stdout", std::move(result.output)},
                                            {"stderr", std::move(result.error)}}));
}

}  // namespace wendra
