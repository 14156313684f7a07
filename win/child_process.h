// Starts a child process whose three standard streams are pipes of ours, and which inherits nothing
// else. The one place where inheritable handles are made.
#pragma once

#include <string>

#include "win/unique.h"

namespace wendra {

struct ChildRequest {
  std::wstring program =
      {};  // full path; "" lets the system find it by the command line's first word
  std::wstring commandLine = {};
  std::wstring directory = {};  // "" inherits ours
  // A block of UTF-16 "name=value" texts, each with its zero, and one more; null inherits ours.
  const wchar_t* environment = nullptr;
  // The child is in this job before it runs, so that it cannot escape from it, not even by our end
  // while it is being created. Where the system refuses that, the child runs without it, and
  // Child::isInJob says so. May be null.
  HANDLE job = nullptr;  // borrowed
};

enum class ChildStart {
  kStarted,
  kNoPipes,     // the system had no pipe left for its streams
  kNotCreated,  // the system refused to start it; Child::reason says why
};

// Our ends. Closing `input` gives the child the end of its input.
struct Child {
  ChildStart start = ChildStart::kNotCreated;
  KernelHandle process;
  KernelHandle input;            // we write
  KernelHandle output;           // we read
  KernelHandle error;            // we read
  DWORD reason = ERROR_SUCCESS;  // a system error code, where it was not created
  bool isInJob = false;          // in the job of the request
};

// Without a window. Any thread; several at once.
Child StartChild(const ChildRequest& request);

}  // namespace wendra
