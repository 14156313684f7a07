// Makes calls of the system fail that the program makes: those of the exe itself, not those of any
// library. What fails where is in failing_calls_win.cpp; docs/runtime-webview2.md lists the names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace wendra {

// A running program takes its plan from `file`, anew at every call, so that it may be changed at
// any time; a plan counts from the first call after its change. Each call that was made to fail is
// written to `file` + ".made", one line "NAME" or "NAME/DETAIL". Once, before other threads run.
void TakeFailuresFrom(const std::wstring& file);

// A plan for a test program, for as long as the object lives. One at a time. Made and ended while
// no other thread makes calls that the plan names.
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
