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
          while (backlog_.Add(lineBytes, isStopped_)) ++added_;
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
  size_t Count() const { return added_; }
  size_t StopAndCount() {
    isStopped_ = true;
    backlog_.WakeStopped();
    thread_.join();
    return added_;
  }

 private:
  Backlog& backlog_;
  std::atomic<bool> isStopped_ = false;
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

// Everybody who waits has a turn when it is empty, also while others fill it again at once.
TEST(Backlog, LeavesNobodyWaiting) {
  Backlog backlog;
  Reader readers[] = {{backlog, 1 << 20}, {backlog, 1 << 20}, {backlog, 1 << 20}};
  size_t handled = 0;
  const auto added = [&] {
    size_t count = 0;
    for (const Reader& reader : readers) count += reader.Count();
    return count;
  };
  const ULONGLONG end = GetTickCount64() + kPatienceMs;
  for (const Reader& reader : readers) {
    const size_t before = reader.Count();
    while (reader.Count() < before + 100 && GetTickCount64() < end) {
      if (handled == added()) continue;
      backlog.Remove(1 << 20);
      ++handled;
    }
    EXPECT_GE(reader.Count(), before + 100);
  }
}

TEST(Backlog, HoldsUpNobodyWhoIsSlower) {
  Backlog backlog;
  std::atomic<bool> isStopped = false;
  for (int i = 0; i < 1000; ++i) {
    ASSERT_TRUE(backlog.Add(1 << 20, isStopped));
    backlog.Remove(1 << 20);
  }
  isStopped = true;
  EXPECT_FALSE(backlog.Add(1, isStopped));
}

}  // namespace
}  // namespace wendra
