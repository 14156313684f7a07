// Runs one program for the tests on Windows, as tools/launch does on Linux:
//
//   host_launch PROGRAM [ARGUMENT...]
//
// Standard output gets, as UTF-8, what the program writes for the debugger. Windows passes such
// texts on in the system's code page, so that some characters have become question marks. Standard
// error gets messages that begin with "launch: ". Standard input takes one command per line:
//
//   close    posts WM_CLOSE to the program's windows until it ends, for 10 seconds at most
//   kill     ends the program at once; so does the end of the input
//
// No process that the program has started runs longer than this one. The exit code is the
// program's; 1 if it was killed, 2 if it was not started.
#include <algorithm>
#include <iostream>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "win/unique.h"
#include "win/wide.h"

#include <windows.h>

#include <shellapi.h>

namespace wendra {
namespace {

constexpr ULONGLONG kCloseLimitMs = 10'000;
constexpr DWORD kClosePauseMs = 200;    // the window may not be there yet, so WM_CLOSE is repeated
constexpr DWORD kRestLimitMs = 10'000;  // how long other processes may run after the program
constexpr DWORD kRestPauseMs = 50;
constexpr DWORD kBufferBytes = 4096;  // the size of the debugger's shared buffer
constexpr int kNotStarted = 2;

void Say(std::string_view text) { std::cerr << "launch: " << text << std::endl; }

struct ViewTraits {
  using Raw = const char*;
  static Raw Empty() { return nullptr; }
  static void Close(Raw view) { UnmapViewOfFile(view); }
};

// Reads what the programs of this session write for the debugger. There can be one reader only.
class DebuggerOutput {
 public:
  // False: another program, for example a debugger, reads already.
  bool Open() {
    ready_.Reset(CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY"));
    if (GetLastError() == ERROR_ALREADY_EXISTS) return false;
    written_.Reset(CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY"));
    buffer_.Reset(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kBufferBytes,
                                     L"DBWIN_BUFFER"));
    if (!ready_ || !written_ || !buffer_) return false;
    view_.Reset(static_cast<const char*>(MapViewOfFile(buffer_.Get(), FILE_MAP_READ, 0, 0, 0)));
    SetEvent(ready_.Get());
    return view_.Get() != nullptr;
  }

  // Signalled when a text has come.
  HANDLE Written() const { return written_.Get(); }

  // Passes on the text that has come, if `process` wrote it, and asks for the next one.
  void PassOn(DWORD process) {
    DWORD writer = 0;
    std::copy_n(view_.Get(), sizeof(writer), reinterpret_cast<char*>(&writer));
    const std::string_view bytes(view_.Get() + sizeof(writer), kBufferBytes - sizeof(writer));
    if (writer == process) Write(bytes.substr(0, bytes.find('\0')));
    SetEvent(ready_.Get());
  }

 private:
  static void Write(std::string_view bytes) {
    const int size = static_cast<int>(bytes.size());
    std::wstring wide(bytes.size(), L'\0');  // a code page never gives more units than bytes
    const int units = MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, wide.data(), size);
    const std::string text = Narrow(std::wstring_view(wide.data(), static_cast<size_t>(units)));
    DWORD written = 0;
    (void)WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()),
                    &written, nullptr);
  }

  KernelHandle ready_;
  KernelHandle written_;
  KernelHandle buffer_;
  Unique<ViewTraits> view_;
};

// The commands on standard input, read by a thread that lives as long as the process.
class Commands {
 public:
  Commands() {
    std::thread([this] { Read(); }).detach();
  }

  HANDLE Come() const { return come_.Get(); }  // signalled when there is a new one

  // The last one; "" if there is none.
  std::string Last() {
    const std::lock_guard lock(mutex_);
    return last_;
  }

 private:
  void Read() {
    for (std::string line; std::getline(std::cin, line);) Set(line.substr(0, line.find('\r')));
    Set("kill");
  }

  void Set(std::string command) {
    {
      const std::lock_guard lock(mutex_);
      last_ = std::move(command);
    }
    SetEvent(come_.Get());
  }

  const KernelHandle come_{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
  std::mutex mutex_;
  std::string last_;
};

BOOL CALLBACK PostClose(HWND window, LPARAM process) {
  DWORD owner = 0;
  GetWindowThreadProcessId(window, &owner);
  if (owner == static_cast<DWORD>(process) && IsWindowVisible(window)) {
    PostMessageW(window, WM_CLOSE, 0, 0);
  }
  return TRUE;
}

// A job that ends all of its processes when this process ends.
KernelHandle MakeJob() {
  KernelHandle job(CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits, sizeof(limits));
  return job;
}

DWORD ProcessesIn(HANDLE job) {
  JOBOBJECT_BASIC_ACCOUNTING_INFORMATION facts{};
  QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &facts, sizeof(facts),
                            nullptr);
  return facts.ActiveProcesses;
}

struct Program {
  KernelHandle process;
  DWORD id = 0;
};

// The program is in the job before it runs.
std::optional<Program> Start(std::wstring commandLine, HANDLE job) {
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION made{};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, CREATE_SUSPENDED,
                      nullptr, nullptr, &startup, &made)) {
    return std::nullopt;
  }
  Program program{KernelHandle(made.hProcess), made.dwProcessId};
  const KernelHandle thread(made.hThread);
  if (!AssignProcessToJobObject(job, program.process.Get())) {
    TerminateProcess(program.process.Get(), kNotStarted);
    return std::nullopt;
  }
  ResumeThread(thread.Get());
  return program;
}

// Passes on the program's texts and obeys commands until the program has ended.
void Attend(const Program& program, DebuggerOutput& output, Commands& commands) {
  ULONGLONG closingSince = 0;  // 0: not closing
  for (;;) {
    const HANDLE awaited[] = {output.Written(), program.process.Get(), commands.Come()};
    const DWORD patienceMs = closingSince ? kClosePauseMs : INFINITE;
    const DWORD came = WaitForMultipleObjects(3, awaited, FALSE, patienceMs);
    if (came == WAIT_OBJECT_0) {
      output.PassOn(program.id);
      continue;
    }
    if (came == WAIT_OBJECT_0 + 1) return;
    const ULONGLONG nowMs = GetTickCount64();
    const std::string command = commands.Last();
    if (command == "close" && !closingSince) closingSince = nowMs;
    const bool isLate = closingSince && nowMs - closingSince > kCloseLimitMs;
    if (isLate) Say("the program did not close within 10 seconds and is killed");
    if (isLate || command == "kill") {
      TerminateProcess(program.process.Get(), 1);
      closingSince = 0;
    } else if (closingSince) {
      EnumWindows(&PostClose, static_cast<LPARAM>(program.id));
    }
  }
}

void EndTheRest(HANDLE job) {
  const ULONGLONG startedMs = GetTickCount64();
  while (ProcessesIn(job) > 0) {
    if (GetTickCount64() - startedMs > kRestLimitMs) {
      Say("killing processes that have outlived the program: " + std::to_string(ProcessesIn(job)));
      TerminateJobObject(job, 1);
      return;
    }
    Sleep(kRestPauseMs);
  }
}

int Run(const std::wstring& commandLine) {
  DebuggerOutput output;
  if (!output.Open()) {
    Say("another program reads the output for debuggers");
    return kNotStarted;
  }
  const KernelHandle job = MakeJob();
  const std::optional<Program> program = Start(commandLine, job.Get());
  if (!program) {
    Say("the program was not started: error " + std::to_string(GetLastError()));
    return kNotStarted;
  }
  static Commands commands;  // its thread uses it until the process ends
  Attend(*program, output, commands);
  // The program has waited until its last text was in the buffer.
  if (WaitForSingleObject(output.Written(), 0) == WAIT_OBJECT_0) output.PassOn(program->id);
  EndTheRest(job.Get());
  DWORD code = 0;
  GetExitCodeProcess(program->process.Get(), &code);
  return static_cast<int>(code);
}

}  // namespace
}  // namespace wendra

// `commandLine` is the rest of the command line as it was written; the program gets it unchanged.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR commandLine, int) {
  const int code = wendra::Run(commandLine);
  ExitProcess(static_cast<UINT>(code));  // the thread that reads commands still runs
}
