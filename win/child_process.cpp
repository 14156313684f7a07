#include "win/child_process.h"

#include <array>
#include <utility>
#include <vector>

namespace wendra {
namespace {

struct Pipe {
  KernelHandle read;
  KernelHandle write;
};

// Makes a pipe with both ends inheritable. Both ends are empty if the system refuses.
Pipe MakeInheritablePipe() {
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  Pipe pipe;
  (void)CreatePipe(pipe.read.Receive(), pipe.write.Receive(), &inheritable, 0);
  return pipe;
}

void KeepFromChildren(const KernelHandle& end) {
  (void)SetHandleInformation(end.Get(), HANDLE_FLAG_INHERIT, 0);
}

// The attribute list for the creation of a child: the three handles that it inherits, and its job
// if it has one. The child inherits no other handle, even if others are inheritable at that moment.
// The list points into the members of this object.
class ChildAttributes {
 public:
  ChildAttributes(const STARTUPINFOW& startup, HANDLE job)
      : handles_{startup.hStdInput, startup.hStdOutput, startup.hStdError}, job_(job) {
    const DWORD count = job ? 2 : 1;
    SIZE_T bytes = 0;
    (void)InitializeProcThreadAttributeList(nullptr, count, 0, &bytes);
    memory_.resize(bytes);
    (void)InitializeProcThreadAttributeList(List(), count, 0, &bytes);
    (void)Add(PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(), sizeof(handles_));
    hasJob_ = job && Add(PROC_THREAD_ATTRIBUTE_JOB_LIST, &job_, sizeof(job_));
  }
  ~ChildAttributes() { DeleteProcThreadAttributeList(List()); }
  ChildAttributes(const ChildAttributes&) = delete;
  ChildAttributes& operator=(const ChildAttributes&) = delete;

  bool HasJob() const { return hasJob_; }

  LPPROC_THREAD_ATTRIBUTE_LIST List() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
  }

 private:
  bool Add(DWORD_PTR attribute, void* value, SIZE_T bytes) {
    return UpdateProcThreadAttribute(List(), 0, attribute, value, bytes, nullptr, nullptr);
  }

  std::array<HANDLE, 3> handles_;
  HANDLE job_;
  bool hasJob_ = false;
  std::vector<char> memory_;
};

struct Creation {
  DWORD reason = ERROR_SUCCESS;  // the error code, if the child was not created
  bool isInJob = false;
};

Creation Create(const ChildRequest& request, STARTUPINFOEXW startup, HANDLE job,
                PROCESS_INFORMATION& process) {
  ChildAttributes attributes(startup.StartupInfo, job);
  startup.lpAttributeList = attributes.List();
  std::wstring commandLine = request.commandLine;  // a copy: CreateProcessW may write into it
  const wchar_t* program = request.program.empty() ? nullptr : request.program.c_str();
  const wchar_t* directory = request.directory.empty() ? nullptr : request.directory.c_str();
  DWORD flags = CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT;
  // Without this flag the system reads the block as ANSI text.
  if (request.environment) flags |= CREATE_UNICODE_ENVIRONMENT;
  const BOOL isCreated = CreateProcessW(program, commandLine.data(), nullptr, nullptr, TRUE, flags,
                                        const_cast<wchar_t*>(request.environment), directory,
                                        &startup.StartupInfo, &process);
  if (!isCreated) return {.reason = GetLastError()};
  return {.isInJob = attributes.HasJob()};
}

}  // namespace

Child StartChild(const ChildRequest& request) {
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
  startup.StartupInfo.cb = sizeof(startup);
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = input.read.Get();
  startup.StartupInfo.hStdOutput = output.write.Get();
  startup.StartupInfo.hStdError = error.write.Get();
  PROCESS_INFORMATION process{};
  Creation creation = Create(request, startup, request.job, process);
  if (request.job && creation.reason != ERROR_SUCCESS) {
    creation = Create(request, startup, nullptr, process);  // the job may be the reason
  }
  child.reason = creation.reason;
  child.isInJob = creation.isInJob;
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
