#include <gtest/gtest.h>

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "json/json.h"

namespace wendra {
namespace {

// Makes threads wait until all of them have arrived. It uses a mutex and a condition variable: in
// Windows programs built with mingw, the simpler types of the library can lose a wake-up.
class StartLine {
 public:
  explicit StartLine(int threads) : missing_(threads) {}

  void ArriveAndWait() {
    std::unique_lock lock(mutex_);
    if (--missing_ == 0) allHere_.notify_all();
    allHere_.wait(lock, [this] { return missing_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable allHere_;
  int missing_;
};

// Mainly for ThreadSanitizer. Without it, the test still finds wrong results.
TEST(JsonThreads, ReadCopyAndWriteAtTheSameTime) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 200;
  std::string text = "[";
  for (int i = 0; i < 100; ++i) {
    text += R"({"name":"tool\u00e9\n","size":)" + std::to_string(i * 7919) +
            R"(.25,"list":[1,2.5e-7,123456789.123456789],"on":true},)";
  }
  text += "null]";

  Json shared;
  ASSERT_TRUE(Parse(text, shared));
  std::string want;
  Serialize(shared, want);

  StartLine start(kThreads);
  std::vector<int> good(kThreads, 0);
  std::vector<std::thread> threads;
  for (std::size_t id = 0; id < kThreads; ++id) {
    threads.emplace_back([&, id] {
      start.ArriveAndWait();
      for (int round = 0; round < kRounds; ++round) {
        Json own;
        const bool read = Parse(text, own);
        std::string written;
        Serialize(own, written);
        const Json copy(shared);  // several threads may copy one value: that does not change it
        std::string copied;
        Serialize(copy, copied);
        good[id] += read && written == want && copied == want && shared.items[7].Find("on");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const int count : good) EXPECT_EQ(count, kRounds);
}

}  // namespace
}  // namespace wendra
