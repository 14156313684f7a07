#include "mcp/backlog_win.h"

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include <windows.h>

namespace wendra {
namespace {

constexpr ULONGLONG kPatienceMs = 20'000;  // before a wait counts as failed

// Adds lines of one length as long as it is let.
class Reader {
 public:
  Reader(Backlog& backlog, size_t lineBytes)
      : backlog_(backlog), thread_([this, lineBytes] {
          while (backlog_.Add(lineBytes)) ++added_;
        }) {}
  ~Reader() {
    if (thread_.joinable()) StopAndCount();
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  bool WaitFor(size_t count) const {
    const ULONGLONG end = GetTickCount64() + kPatienceMs;
    while (added_ < count && GetTickCount64() < end) std::this_thread::yield();
    return added_ >= count;
  }
  size_t StopAndCount() {
    backlog_.Stop();
    thread_.join();
    return added_;
  }

 private:
  Backlog& backlog_;
  std::atomic<size_t> added_ = 0;
  std::thread thread_;  // last: it uses the rest
};

constexpr struct {
  size_t lineBytes, atATime;
} kCases[] = {{0, 64}, {1, 64}, {4 << 10, 32}, {60 << 10, 4}, {1 << 20, 1}};

TEST(Backlog, HoldsUpWhoAddsTooMuch) {
  for (const auto& [lineBytes, atATime] : kCases) {
    Backlog backlog;
    Reader reader(backlog, lineBytes);
    EXPECT_TRUE(reader.WaitFor(atATime));
    EXPECT_EQ(reader.StopAndCount(), atATime) << lineBytes;
  }
}

TEST(Backlog, GoesOnWhenAllIsHandled) {
  for (const auto& [lineBytes, atATime] : kCases) {
    Backlog backlog;
    Reader reader(backlog, lineBytes);
    const size_t handled = 100 * atATime;
    for (size_t i = 0; i < handled; ++i) {
      ASSERT_TRUE(reader.WaitFor(i + 1)) << lineBytes;
      backlog.Remove(lineBytes);
    }
    EXPECT_LE(reader.StopAndCount(), handled + atATime) << lineBytes;
  }
}

TEST(Backlog, HoldsUpNobodyWhoIsSlower) {
  Backlog backlog;
  for (int i = 0; i < 1000; ++i) {
    ASSERT_TRUE(backlog.Add(1 << 20));
    backlog.Remove(1 << 20);
  }
  backlog.Stop();
  EXPECT_FALSE(backlog.Add(1));
}

}  // namespace
}  // namespace wendra
