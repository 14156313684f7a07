#include "win/child_process.h"

#include <gtest/gtest.h>

// Before windows.h, which otherwise includes the old socket functions.
#include <winsock2.h>

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
  EXPECT_TRUE(child.isInJob);
}

TEST(StartChild, StartsTheChildWithoutAJobThatTheSystemRefuses) {
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
    EXPECT_FALSE(child.isInJob);
  }
}

// The process has other inheritable handles at that moment: a pipe, an event and a socket.
TEST(StartChild, LetsTheChildInheritOnlyItsThreeStreams) {
  SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
  KernelHandle read;
  KernelHandle write;
  ASSERT_TRUE(CreatePipe(read.Receive(), write.Receive(), &inheritable, 0));
  const KernelHandle event(CreateEventW(&inheritable, FALSE, FALSE, nullptr));
  WSADATA data;
  ASSERT_EQ(WSAStartup(MAKEWORD(2, 2), &data), 0);
  const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, 0);
  ASSERT_NE(socket, INVALID_SOCKET);
  const Child other = StartReader(nullptr);  // our ends of its pipes are open meanwhile

  const KernelHandle job(CreateJobObjectW(nullptr, nullptr));
  for (const HANDLE each : {HANDLE{}, job.Get(), event.Get()}) {  // the system refuses the last one
    const ChildRun run = RunToEnd(
        {.commandLine = L"\"" + BuiltProgram(L"test_child.exe") + L"\" handles", .job = each});
    EXPECT_EQ(run.output, "3 inherited, 3 of them standard streams");
  }
  closesocket(socket);
  WSACleanup();
}

TEST(StartChild, GivesHandlesThatOtherChildrenDoNotInherit) {
  const Child child = StartReader(nullptr);
  for (const KernelHandle* end : {&child.input, &child.output, &child.error, &child.process}) {
    DWORD flags = 0;
    ASSERT_TRUE(GetHandleInformation(end->Get(), &flags));
    EXPECT_FALSE(flags & HANDLE_FLAG_INHERIT);
  }
}

TEST(StartChild, GivesTheErrorCodeOfTheSystem) {
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
