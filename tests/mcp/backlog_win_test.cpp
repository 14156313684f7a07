#include "mcp/backlog_win.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/test_window_win.h"
#include "win/messages.h"
#include "win/owned_message.h"

#include <windows.h>

namespace wendra {
namespace {

constexpr ULONGLONG kPatienceMs = 20'000;  // before a wait counts as failed

// Adds lines of one length as long as it is let.
class Reader {
 public:
  Reader(Backlog& backlog, size_t lineBytes)
      : backlog_(backlog), thread_([this, lineBytes] {
          while (backlog_.Add(lineBytes, *share_)) ++added_;
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
  Backlog::Share& OwnShare() { return *share_; }
  const std::shared_ptr<Backlog::Share>& SharedShare() const { return share_; }
  size_t StopAndCount() {
    backlog_.Stop(*share_);
    thread_.join();
    return added_;
  }

 private:
  Backlog& backlog_;
  const std::shared_ptr<Backlog::Share> share_ = std::make_shared<Backlog::Share>();
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
      backlog.Remove(lineBytes, reader.OwnShare());
    }
    EXPECT_LE(reader.StopAndCount(), handled + atATime) << lineBytes;
  }
}

// Everybody who waits has a turn when it is empty, also while others fill it again at once.
TEST(Backlog, LeavesNobodyWaiting) {
  Backlog backlog;
  Reader readers[] = {{backlog, 1 << 20}, {backlog, 1 << 20}, {backlog, 1 << 20}};
  size_t handled[3] = {};
  const auto handleOne = [&] {
    for (size_t i = 0; i < 3; ++i) {
      if (handled[i] == readers[i].Count()) continue;
      ++handled[i];
      return backlog.Remove(1 << 20, readers[i].OwnShare());
    }
  };
  const ULONGLONG end = GetTickCount64() + kPatienceMs;
  for (Reader& reader : readers) {
    const size_t before = reader.Count();
    while (reader.Count() < before + 100 && GetTickCount64() < end) handleOne();
    EXPECT_GE(reader.Count(), before + 100);
  }
}

TEST(Backlog, HoldsUpNobodyWhoIsSlower) {
  Backlog backlog;
  Backlog::Share share;
  for (int i = 0; i < 1000; ++i) {
    ASSERT_TRUE(backlog.Add(1 << 20, share));
    backlog.Remove(1 << 20, share);
  }
  backlog.Stop(share);
  EXPECT_FALSE(backlog.Add(1, share));
}

// Otherwise the server would have less than nothing under way, which is as good as too much.
TEST(Backlog, CountsWhatIsDeliveredAtOnce) {
  Backlog backlog;
  Backlog::Share share;
  std::vector<std::string> received;
  const TestWindow window([&](UINT message, WPARAM, LPARAM lparam) {
    if (message != kMcpMessage) return;
    received.push_back(*TakeOwned<std::string>(lparam));
    backlog.Remove(received.back().size(), share);
  });
  backlog.DeliverAtOnce(window.Handle(), 0, "at once", share);
  TestWindow::Pump();
  backlog.DeliverIfRoom(window.Handle(), 0, "if there is room", share);
  TestWindow::Pump();
  EXPECT_EQ(received, (std::vector<std::string>{"at once", "if there is room"}));
}

// Messages that are not handled and refusals that are not sent count together; of other servers
// nothing counts.
TEST(Backlog, HoldsUpAServerThatTakesNoRefusals) {
  const auto backlog = std::make_shared<Backlog>();
  for (const size_t refusalBytes : {size_t{0}, size_t{60 << 10}}) {
    const auto other = std::make_shared<Backlog::Share>();
    Reader reader(*backlog, 0);
    ASSERT_TRUE(reader.WaitFor(64));
    const size_t count = (256 << 10) / ((4 << 10) + refusalBytes);
    std::vector<Backlog::Refusal> refusals;
    for (size_t i = 0; i < count; ++i) {
      refusals.push_back(backlog->AddRefusal(refusalBytes, reader.SharedShare()));
    }
    for (int i = 0; i < 64; ++i) backlog->Remove(0, reader.OwnShare());  // nothing is under way
    ASSERT_TRUE(backlog->Add(0, *other));
    backlog->Remove(0, *other);
    EXPECT_EQ(reader.Count(), 64u) << refusalBytes;
    refusals.clear();
    EXPECT_TRUE(reader.WaitFor(128)) << refusalBytes;
    EXPECT_EQ(reader.StopAndCount(), 128u) << refusalBytes;
    for (int i = 0; i < 64; ++i) backlog->Remove(0, reader.OwnShare());
  }
}

}  // namespace
}  // namespace wendra
