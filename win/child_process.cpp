#include "win/child_process.h"

#include <mutex>
#include <utility>
#include <vector>

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

// What puts a child into a job as it is created. The system's list refers to what lies in here;
// given the memory that it has asked for, it cannot fail.
class JobAttribute {
 public:
  explicit JobAttribute(HANDLE job) : job_(job) {
    SIZE_T bytes = 0;
    (void)InitializeProcThreadAttributeList(nullptr, 1, 0, &bytes);
    memory_.resize(bytes);
    (void)InitializeProcThreadAttributeList(List(), 1, 0, &bytes);
    (void)UpdateProcThreadAttribute(List(), 0, PROC_THREAD_ATTRIBUTE_JOB_LIST, &job_, sizeof(job_),
                                    nullptr, nullptr);
  }
  ~JobAttribute() { DeleteProcThreadAttributeList(List()); }
  JobAttribute(const JobAttribute&) = delete;
  JobAttribute& operator=(const JobAttribute&) = delete;

  LPPROC_THREAD_ATTRIBUTE_LIST List() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
  }

 private:
  HANDLE job_;
  std::vector<char> memory_;
};

// ERROR_SUCCESS, or why not.
DWORD Create(const ChildRequest& request, STARTUPINFOEXW startup, PROCESS_INFORMATION& process) {
  std::wstring commandLine = request.commandLine;  // the system writes into it
  const wchar_t* program = request.program.empty() ? nullptr : request.program.c_str();
  const wchar_t* directory = request.directory.empty() ? nullptr : request.directory.c_str();
  DWORD flags = CREATE_NO_WINDOW;
  // Without this the block would be taken for ANSI text.
  if (request.environment) flags |= CREATE_UNICODE_ENVIRONMENT;
  if (startup.lpAttributeList) flags |= EXTENDED_STARTUPINFO_PRESENT;
  startup.StartupInfo.cb = startup.lpAttributeList ? sizeof(startup) : sizeof(startup.StartupInfo);
  const BOOL isCreated = CreateProcessW(program, commandLine.data(), nullptr, nullptr, TRUE, flags,
                                        const_cast<wchar_t*>(request.environment), directory,
                                        &startup.StartupInfo, &process);
  return isCreated ? ERROR_SUCCESS : GetLastError();
}

DWORD CreateInItsJob(const ChildRequest& request, STARTUPINFOEXW startup,
                     PROCESS_INFORMATION& process) {
  if (request.job) {
    JobAttribute attribute(request.job);
    startup.lpAttributeList = attribute.List();
    if (Create(request, startup, process) == ERROR_SUCCESS) return ERROR_SUCCESS;
    startup.lpAttributeList = nullptr;  // it may have been the job that was refused
  }
  return Create(request, startup, process);
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

  STARTUPINFOEXW startup{};
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = input.read.Get();
  startup.StartupInfo.hStdOutput = output.write.Get();
  startup.StartupInfo.hStdError = error.write.Get();
  PROCESS_INFORMATION process{};
  child.reason = CreateInItsJob(request, startup, process);
  if (child.reason != ERROR_SUCCESS) return child;
  CloseHandle(process.hThread);
  child.start = ChildStart::kStarted;
  child.process.Reset(process.hProcess);
  child.input = std::move(input.write);
  child.output = std::move(output.read);
  child.error = std::move(error.read);
  return child;
}

}  // namespace wendra
