// A test program with a test that hangs. tests/tools/runner.test.mjs runs it, and checks that
// test_limit.cpp names the test and ends the program.
#include <condition_variable>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(NeverEnds, HasOneTestThatEnds) {}

TEST(NeverEnds, WaitsForAThreadThatWaits) {
  std::mutex mutex;
  std::condition_variable never;
  std::thread worker([&] {
    std::unique_lock lock(mutex);
    never.wait(lock, [] { return false; });
  });
  worker.join();
}

}  // namespace
}  // namespace wendra
