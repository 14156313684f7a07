// Makes system calls of the program fail: those that the exe makes itself. Calls of its libraries
// are left alone. docs/runtime-webview2.md says how a plan is written; failing_calls_win.cpp lists
// the functions.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// From here on the plan in `file` decides which calls fail. Each call reads the file, so the plan
// may change at any time; a changed plan counts from the next call on. Each call that fails is
// appended to `file` + ".made" as the line "NAME" or "NAME/DETAIL". Call it once, before the
// program has other threads.
void TakeFailuresFrom(const std::wstring& file);

// A plan for a test program, for as long as the object lives. One object at a time. While it is
// made and while it is destroyed, no other thread may make a call that the plan names.
class FailingCalls {
 public:
  explicit FailingCalls(std::string_view plan);
  ~FailingCalls();
  FailingCalls(const FailingCalls&) = delete;
  FailingCalls& operator=(const FailingCalls&) = delete;

  // The calls that were made to fail so far: "NAME" or "NAME/DETAIL". Any thread.
  std::vector<std::string> Made() const;
};

}  // namespace wendra
