#include "win/child_process.h"

#include <mutex>
#include <utility>

namespace wendra {
namespace {

struct Pipe {
  KernelHandle read;
  KernelHandle write;
};

// Both ends inheritable; empty ends where the system refuses.
Pipe MakeInheritablePipe() {
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  Pipe pipe;
  (void)CreatePipe(pipe.read.Receive(), pipe.write.Receive(), &inheritable, 0);
  return pipe;
}

void KeepFromChildren(const KernelHandle& end) {
  (void)SetHandleInformation(end.Get(), HANDLE_FLAG_INHERIT, 0);
}

DWORD CreationFlags(const ChildRequest& request) {
  // Without the second flag the block would be taken for ANSI text.
  return CREATE_NO_WINDOW | (request.environment ? CREATE_UNICODE_ENVIRONMENT : 0);
}

}  // namespace

Child StartChild(const ChildRequest& request) {
  // From the making of inheritable ends to the closing of our copies. A handle that is inheritable
  // is inherited by every child that is started meanwhile, whoever starts it.
  static std::mutex startMutex;
  const std::lock_guard<std::mutex> lock(startMutex);

  Pipe input = MakeInheritablePipe();
  Pipe output = MakeInheritablePipe();
  Pipe error = MakeInheritablePipe();
  Child child;
  if (!input.read || !output.read || !error.read) {
    child.start = ChildStart::kNoPipes;
    return child;
  }
  KeepFromChildren(input.write);
  KeepFromChildren(output.read);
  KeepFromChildren(error.read);

  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = input.read.Get();
  startup.hStdOutput = output.write.Get();
  startup.hStdError = error.write.Get();

  std::wstring commandLine = request.commandLine;  // the system writes into it
  const wchar_t* program = request.program.empty() ? nullptr : request.program.c_str();
  const wchar_t* directory = request.directory.empty() ? nullptr : request.directory.c_str();
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(program, commandLine.data(), nullptr, nullptr, TRUE, CreationFlags(request),
                      const_cast<wchar_t*>(request.environment), directory, &startup, &process)) {
    child.reason = GetLastError();
    return child;
  }
  CloseHandle(process.hThread);
  child.start = ChildStart::kStarted;
  child.process.Reset(process.hProcess);
  child.input = std::move(input.write);
  child.output = std::move(output.read);
  child.error = std::move(error.read);
  return child;
}

}  // namespace wendra
