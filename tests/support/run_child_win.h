// Runs a child of a test to its end.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "win/child_process.h"
#include "win/wide.h"

#include <windows.h>

namespace wendra {

// A program of the build; it lies one folder above the tests.
inline std::wstring BuiltProgram(const wchar_t* name) {
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  return (std::filesystem::path(self).parent_path().parent_path() / name).wstring();
}

struct ChildRun {
  std::string output;  // standard output, all of it
  DWORD exitCode = 0;
};

// `input` is written before anything is read: it must fit into a pipe (4 KiB), or be read at once.
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
