// Part of every GoogleTest program: if one test takes too long, it prints the name of that test and
// ends the program. So a test that hangs cannot block the tests of other programs. Portable: it
// also runs under Wine.
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

constexpr milliseconds kLimit{150'000};  // for runs by hand; tests/run.mjs sets its own limit
constexpr milliseconds kStep{100};

milliseconds Limit() {
  const char* wanted = std::getenv("WENDRA_DEV_TEST_LIMIT_MS");
  return wanted ? milliseconds(std::atol(wanted)) : kLimit;
}

// A thread that looks at the clock every 100 ms. It does not wait with a time limit: in Windows
// programs such a wait makes kernel handles, and tests count handles.
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
    std::_Exit(EXIT_FAILURE);  // without destructors: other threads still run
  }

  std::atomic<const testing::TestInfo*> running_ = nullptr;
  std::atomic<Clock::rep> beganAt_ = 0;
  std::atomic<bool> isOver_ = false;
  std::thread watching_;
};

[[maybe_unused]] const bool isListening = [] {
  testing::UnitTest::GetInstance()->listeners().Append(new TestLimit);  // GoogleTest owns it now
  return true;
}();

}  // namespace
}  // namespace wendra
