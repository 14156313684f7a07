// Part of every GoogleTest program: ends it when one test takes too long, and says which. A thread
// that waits for what never comes holds up nothing after it. Portable: runs under Wine as well.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include <gtest/gtest.h>

namespace wendra {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kLimit{150'000};  // tests/run.mjs says how long, this is for runs by hand
constexpr milliseconds kStep{100};

milliseconds Limit() {
  const char* wanted = std::getenv("WENDRA_DEV_TEST_LIMIT_MS");
  return wanted ? milliseconds(std::atol(wanted)) : kLimit;
}

// Looks at the clock in steps: a wait with a time limit makes kernel handles as a Windows program,
// which tests count.
class TestLimit : public testing::EmptyTestEventListener {
 private:
  void OnTestProgramStart(const testing::UnitTest&) override {
    watching_ = std::thread([this] { Watch(); });
  }
  void OnTestStart(const testing::TestInfo& test) override {
    beganAt_ = Clock::now().time_since_epoch().count();
    running_ = &test;
  }
  void OnTestEnd(const testing::TestInfo&) override { running_ = nullptr; }
  void OnTestProgramEnd(const testing::UnitTest&) override {
    isOver_ = true;
    watching_.join();
  }

  void Watch() const {
    for (const milliseconds limit = Limit(); !isOver_; std::this_thread::sleep_for(kStep)) {
      const testing::TestInfo* test = running_;
      const Clock::time_point began{Clock::duration(beganAt_)};
      if (test && Clock::now() - began > limit) End(*test, limit);
    }
  }

  [[noreturn]] static void End(const testing::TestInfo& test, milliseconds limit) {
    std::fprintf(stderr, "%s.%s has not ended after %d ms; the program ends without the rest\n",
                 test.test_suite_name(), test.name(), static_cast<int>(limit.count()));
    std::fflush(nullptr);
    std::_Exit(EXIT_FAILURE);  // nothing is torn down under threads that go on
  }

  std::atomic<const testing::TestInfo*> running_ = nullptr;
  std::atomic<Clock::rep> beganAt_ = 0;
  std::atomic<bool> isOver_ = false;
  std::thread watching_;
};

[[maybe_unused]] const bool isListening = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new TestLimit);  // GoogleTest's from now on
  return true;
}();

}  // namespace
}  // namespace wendra
