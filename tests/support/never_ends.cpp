// A test program with a test that waits for what never comes, for the test of what then ends it.
#include <condition_variable>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

namespace wendra {
namespace {

TEST(NeverEnds, ButThisDoes) {}

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
