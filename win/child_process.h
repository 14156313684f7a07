// Starts a child process with a pipe for each of its three standard streams.
//
// The child inherits its ends of these pipes and no other handle. The program makes inheritable
// handles here and nowhere else.
#pragma once

#include <string>

#include "win/unique.h"

namespace wendra {

struct ChildRequest {
  // The full path of the program. "": the system takes the first word of `commandLine` and searches
  // for that program.
  std::wstring program = {};
  std::wstring commandLine = {};
  std::wstring directory = {};  // "": the child starts in our current directory
  // The environment block: UTF-16 texts "name=value", each ended by a NUL, and one more NUL at the
  // end. Null: the child gets a copy of our environment. Borrowed.
  const wchar_t* environment = nullptr;
  // The job object for the child; null for none. Borrowed. The system puts the child into the job
  // before the child runs, so the child cannot start others outside it, and cannot be left outside
  // it when our process ends during the creation. If the system refuses the job, the child runs
  // without it, and Child::isInJob is false.
  HANDLE job = nullptr;
};

enum class ChildStart {
  kStarted,
  kNoPipes,     // the system could not make a pipe for each standard stream
  kNotCreated,  // the system refused to create the process; Child::reason says why
};

// A child process and our ends of its pipes; all handles are empty unless `start` is kStarted.
// Closing `input` ends the standard input of the child.
struct Child {
  ChildStart start = ChildStart::kNotCreated;
  KernelHandle process;
  KernelHandle input;            // we write the child's standard input here
  KernelHandle output;           // we read the child's standard output here
  KernelHandle error;            // we read the child's standard error here
  DWORD reason = ERROR_SUCCESS;  // for kNotCreated: the system's error code
  bool isInJob = false;          // whether the child is in ChildRequest::job
};

// Starts the child without a console window. Any thread; several threads at the same time.
Child StartChild(const ChildRequest& request);

}  // namespace wendra
