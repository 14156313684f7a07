#include "win/child_process.h"

#include <gtest/gtest.h>

#include "tests/support/run_child_win.h"

namespace wendra {
namespace {

bool IsIn(const KernelHandle& job, const Child& child) {
  BOOL isIn = FALSE;
  EXPECT_TRUE(IsProcessInJob(child.process.Get(), job.Get(), &isIn));
  return isIn;
}

Child StartReader(HANDLE job) {
  return StartChild(
      {.commandLine = L"\"" + BuiltProgram(L"test_child.exe") + L"\" read", .job = job});
}

TEST(StartChild, PutsTheChildIntoItsJob) {
  const KernelHandle job(CreateJobObjectW(nullptr, nullptr));
  const Child child = StartReader(job.Get());
  ASSERT_EQ(child.start, ChildStart::kStarted);
  EXPECT_TRUE(IsIn(job, child));
}

TEST(StartChild, DoesWithoutAJobThatIsRefused) {
  const KernelHandle job(CreateJobObjectW(nullptr, nullptr));
  KernelHandle forLooking;
  ASSERT_TRUE(DuplicateHandle(GetCurrentProcess(), job.Get(), GetCurrentProcess(),
                              forLooking.Receive(), JOB_OBJECT_QUERY, FALSE, 0));
  const KernelHandle noJob(CreateEventW(nullptr, FALSE, FALSE, nullptr));
  for (const HANDLE each : {forLooking.Get(), noJob.Get()}) {
    const Child child = StartReader(each);
    ASSERT_EQ(child.start, ChildStart::kStarted);
    EXPECT_EQ(child.reason, DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(IsIn(job, child));
  }
}

TEST(StartChild, SaysWhyTheSystemRefused) {
  const KernelHandle job(CreateJobObjectW(nullptr, nullptr));
  for (const HANDLE each : {HANDLE{}, job.Get()}) {
    const Child child =
        StartChild({.program = L"C:\\none-such.exe", .commandLine = L"none-such", .job = each});
    EXPECT_EQ(child.start, ChildStart::kNotCreated);
    EXPECT_EQ(child.reason, DWORD{ERROR_FILE_NOT_FOUND});
  }
}

}  // namespace
}  // namespace wendra
