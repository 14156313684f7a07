#include "mcp/flow_control.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "base/clock.h"
#include "tests/support/patience.h"
#include "tests/support/queue_inbox.h"

namespace wendra {
namespace {

// Counts the messages of each server and drops them.
class CountingInbox : public Inbox {
 public:
  bool DeliverText(ServerId server, std::string) override {
    ++counts[static_cast<size_t>(server)];
    return true;
  }
  bool PostText(ServerId server, std::string text) override {
    return DeliverText(server, std::move(text));
  }
  bool DeliverClosed(ServerId) override { return true; }
  bool DeliverStatus(ServerId, PostStatus) override { return true; }

  std::atomic<size_t> counts[8] = {};
};

// A reader thread that delivers messages of one length as fast as the flow control lets it.
class Sender {
 public:
  Sender(FlowControl& flow, const CountingInbox& inbox, size_t server, size_t messageBytes)
      : flow_(flow), inbox_(inbox), number_(server) {
    flow.Open(Id());
    thread_ = std::thread([this, messageBytes] {
      while (!isStopped_) flow_.Deliver(Id(), std::string(messageBytes, 'x'));
    });
  }
  ~Sender() {
    if (thread_.joinable()) StopAndCount();
  }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;

  ServerId Id() const { return ServerId{number_}; }
  size_t Count() const { return inbox_.counts[number_]; }
  bool WaitFor(size_t count) const {
    const std::uint64_t endMs = ClockMs() + kPatienceMs;
    while (Count() < count && ClockMs() < endMs) std::this_thread::yield();
    return Count() >= count;
  }
  size_t StopAndCount() {
    isStopped_ = true;
    flow_.Close(Id());
    thread_.join();
    return Count();
  }

 private:
  FlowControl& flow_;
  const CountingInbox& inbox_;
  const size_t number_;
  std::atomic<bool> isStopped_ = false;
  std::thread thread_;
};

class FlowControlTest : public testing::Test {
 protected:
  const std::shared_ptr<CountingInbox> inbox = std::make_shared<CountingInbox>();
  const std::shared_ptr<FlowControl> flow = std::make_shared<FlowControl>(inbox);
};

constexpr struct {
  size_t messageBytes, atATime;
} kCases[] = {{0, 64}, {1, 64}, {4 << 10, 32}, {60 << 10, 4}, {1 << 20, 1}};

TEST_F(FlowControlTest, MakesAReaderWaitAtTheLimit) {
  size_t number = 0;
  for (const auto& [messageBytes, atATime] : kCases) {
    Sender sender(*flow, *inbox, ++number, messageBytes);
    EXPECT_TRUE(sender.WaitFor(atATime));
    EXPECT_EQ(sender.StopAndCount(), atATime) << messageBytes;
    for (size_t i = 0; i < atATime; ++i) flow->OnHandled(sender.Id(), messageBytes);
  }
}

TEST_F(FlowControlTest, LetsAReaderGoOnWhenAllIsHandled) {
  size_t number = 0;
  for (const auto& [messageBytes, atATime] : kCases) {
    Sender sender(*flow, *inbox, ++number, messageBytes);
    const size_t handled = 100 * atATime;
    for (size_t i = 0; i < handled; ++i) {
      ASSERT_TRUE(sender.WaitFor(i + 1)) << messageBytes;
      flow->OnHandled(sender.Id(), messageBytes);
    }
    const size_t sent = sender.StopAndCount();
    EXPECT_LE(sent, handled + atATime) << messageBytes;
    for (size_t i = handled; i < sent; ++i) flow->OnHandled(sender.Id(), messageBytes);
  }
}

// When no message waits any more, every reader that waited goes on, even if others reach the limit
// again first.
TEST_F(FlowControlTest, LeavesNoReaderWaiting) {
  Sender senders[] = {
      {*flow, *inbox, 1, 1 << 20}, {*flow, *inbox, 2, 1 << 20}, {*flow, *inbox, 3, 1 << 20}};
  size_t handled[3] = {};
  const auto handleOne = [&] {
    for (size_t i = 0; i < 3; ++i) {
      if (handled[i] == senders[i].Count()) continue;
      ++handled[i];
      return flow->OnHandled(senders[i].Id(), 1 << 20);
    }
  };
  const std::uint64_t endMs = ClockMs() + kPatienceMs;
  for (const Sender& sender : senders) {
    const size_t before = sender.Count();
    while (sender.Count() < before + 100 && ClockMs() < endMs) handleOne();
    EXPECT_GE(sender.Count(), before + 100);
  }
}

TEST_F(FlowControlTest, DropsTheMessagesOfAClosedServer) {
  constexpr ServerId kServer{1};
  flow->Open(kServer);
  for (int i = 0; i < 1000; ++i) {
    flow->Deliver(kServer, std::string(1 << 20, 'x'));
    flow->OnHandled(kServer, 1 << 20);
  }
  flow->Close(kServer);
  flow->Deliver(kServer, "x");
  flow->DeliverIfRoom(kServer, "x");
  EXPECT_EQ(inbox->counts[1], 1000u);
}

// A message may be handled after its server is closed. The other readers must not wait for ever.
TEST_F(FlowControlTest, ForgetsTheMessagesThatAClosedServerLeft) {
  Sender gone(*flow, *inbox, 1, 0);
  Sender other(*flow, *inbox, 2, 0);
  while (gone.Count() + other.Count() < 64) std::this_thread::yield();
  const size_t left = gone.StopAndCount();
  const size_t before = other.Count();
  for (size_t i = 0; i < left; ++i) flow->OnHandled(gone.Id(), 0);
  for (size_t i = 0; i < before; ++i) flow->OnHandled(other.Id(), 0);
  EXPECT_TRUE(other.WaitFor(before + 64));
}

// Without the count, OnHandled would make the server's unsigned count wrap around to a huge number.
TEST_F(FlowControlTest, CountsMessagesThatAreDeliveredAtOnce) {
  constexpr ServerId kServer{1};
  flow->Open(kServer);
  flow->DeliverAtOnce(kServer, "at once");
  flow->OnHandled(kServer, 7);
  flow->DeliverIfRoom(kServer, "if there is room");
  EXPECT_EQ(inbox->counts[1], 2u);
}

TEST_F(FlowControlTest, CountsNoMessageThatTheInboxRefuses) {
  const auto closed = std::make_shared<QueueInbox>();
  closed->Close();
  const auto closedFlow = std::make_shared<FlowControl>(closed);
  constexpr ServerId kServer{1};
  closedFlow->Open(kServer);
  for (int i = 0; i < 100; ++i) {
    closedFlow->Deliver(kServer, std::string(1 << 20, 'x'));
    closedFlow->DeliverIfRoom(kServer, std::string(1 << 20, 'x'));
    closedFlow->DeliverAtOnce(kServer, std::string(1 << 20, 'x'));
  }
}

// The unhandled messages and the unsent refusals of a server count together. Those of other servers
// do not count.
TEST_F(FlowControlTest, MakesAReaderWaitWhenItsServerTakesNoRefusals) {
  size_t number = 0;
  for (const size_t refusalBytes : {size_t{0}, size_t{60 << 10}}) {
    Sender sender(*flow, *inbox, ++number, 0);
    ASSERT_TRUE(sender.WaitFor(64));
    const size_t count = (256 << 10) / ((4 << 10) + refusalBytes);
    std::vector<FlowControl::Refusal> refusals;
    for (size_t i = 0; i < count; ++i) {
      refusals.push_back(flow->AddRefusal(sender.Id(), refusalBytes));
    }
    for (int i = 0; i < 64; ++i) flow->OnHandled(sender.Id(), 0);  // no message waits
    constexpr ServerId kOther{7};
    flow->Open(kOther);
    flow->Deliver(kOther, "");
    flow->OnHandled(kOther, 0);
    EXPECT_EQ(sender.Count(), 64u) << refusalBytes;
    refusals.clear();
    EXPECT_TRUE(sender.WaitFor(128)) << refusalBytes;
    EXPECT_EQ(sender.StopAndCount(), 128u) << refusalBytes;
    for (int i = 0; i < 64; ++i) flow->OnHandled(sender.Id(), 0);
  }
}

}  // namespace
}  // namespace wendra
