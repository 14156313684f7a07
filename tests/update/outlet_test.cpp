#include "update/outlet.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/recording_log.h"

namespace wendra {
namespace {

TEST(UpdateOutlet, PassesCallsOnUntilItIsShut) {
  RecordingLog log;
  int closed = 0;
  UpdateOutlet outlet(
      log, [&] { ++closed; }, [] {});
  outlet.Line("one");
  outlet.CloseWindow();
  outlet.Shut();
  outlet.Line("two");
  outlet.CloseWindow();
  outlet.Shut();
  EXPECT_EQ(log.lines, std::vector<std::string>{"one"});
  EXPECT_EQ(closed, 1);
}

TEST(UpdateOutlet, AsksForARetryAfterAFailureThatNoPersonHasAskedFor) {
  RecordingLog log;
  int retries = 0;
  UpdateOutlet outlet(
      log, [] {}, [&] { ++retries; });
  outlet.CheckEnded(false);
  EXPECT_EQ(retries, 0);
  outlet.CheckEnded(true);
  EXPECT_EQ(retries, 1);
  outlet.PersonAsks();
  outlet.CheckEnded(true);
  EXPECT_EQ(retries, 1);
  outlet.CheckEnded(true);  // no person has asked for this check
  EXPECT_EQ(retries, 2);
  outlet.PersonAsks();
  outlet.CheckEnded(false);
  outlet.CheckEnded(true);
  EXPECT_EQ(retries, 3);
  outlet.Shut();
  outlet.CheckEnded(true);
  EXPECT_EQ(retries, 3);
}

// Also runs under ThreadSanitizer. After Shut the test destroys the log while a thread still calls
// the outlet.
TEST(UpdateOutletThreads, NoCallTouchesTheLogAfterShutHasReturned) {
  for (int round = 0; round < 200; ++round) {
    auto log = std::make_unique<RecordingLog>();
    UpdateOutlet outlet(
        *log, [] {}, [] {});
    std::atomic<bool> isOver = false;
    std::atomic<int> calls = 0;
    std::thread caller([&] {
      while (!isOver) {
        outlet.Line("x");
        outlet.CloseWindow();
        ++calls;
      }
    });
    while (calls < 3) std::this_thread::yield();
    outlet.Shut();
    const size_t lines = log->lines.size();
    const int callsAtShut = calls;
    while (calls < callsAtShut + 3) std::this_thread::yield();
    EXPECT_GE(lines, 3u);
    EXPECT_EQ(log->lines.size(), lines);
    log.reset();
    isOver = true;
    caller.join();
  }
}

}  // namespace
}  // namespace wendra
