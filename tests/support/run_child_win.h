// Runs a child process to its end, for tests.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "win/child_process.h"
#include "win/wide.h"

#include <windows.h>

namespace wendra {

// The path of a program of the build. It is in the parent folder of the test program's folder.
inline std::wstring BuiltProgram(const wchar_t* name) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  return (std::filesystem::path(self).parent_path().parent_path() / name).wstring();
}

struct ChildRun {
  std::string output;  // all of the child's standard output
  DWORD exitCode = 0;
};

// Starts the child, gives it `input`, and waits for its end. All of `input` is written before any
// output is read: the child must read it at once, or it must fit into the pipe (4 KiB).
inline ChildRun RunToEnd(const ChildRequest& request, std::string_view input = {}) {
  ChildRun run;
  Child child = StartChild(request);
  EXPECT_TRUE(child.process) << Narrow(request.commandLine);
  DWORD written = 0;
  (void)WriteFile(child.input.Get(), input.data(), static_cast<DWORD>(input.size()), &written,
                  nullptr);
  child.input.Reset();
  char buffer[4096];
  for (DWORD got = 0;
       ReadFile(child.output.Get(), buffer, sizeof(buffer), &got, nullptr) && got > 0;) {
    run.output.append(buffer, got);
  }
  WaitForSingleObject(child.process.Get(), INFINITE);
  (void)GetExitCodeProcess(child.process.Get(), &run.exitCode);
  return run;
}

}  // namespace wendra
