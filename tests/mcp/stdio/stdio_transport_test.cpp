#include "mcp/stdio/stdio_transport.h"

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "base/clock.h"
#include "tests/support/memory_pipe.h"
#include "tests/support/queue_inbox.h"
#include "tests/support/shared_log.h"

namespace wendra {
namespace {

using Lines = std::vector<std::string>;

// Records what happens to the child and its input, in order.
class RecordingChild : public ChildProcess {
 public:
  RecordingChild(std::shared_ptr<MemoryPipe> input, Lines& record)
      : input_(std::move(input)), record_(record) {}
  ~RecordingChild() override { record_.push_back("released"); }
  void Terminate() override {
    if (input_->IsCancelled()) record_.push_back("input closed");
    record_.push_back("terminated");
  }
  void EndTree() override { record_.push_back("tree ended"); }

 private:
  const std::shared_ptr<MemoryPipe> input_;
  Lines& record_;
};

// A transport over pipes that the test holds.
class StdioTransportTest : public testing::Test {
 protected:
  StdioTransportTest() {
    flow_->Open(kServer);
    McpChild child;
    child.process = std::make_unique<RecordingChild>(input_, record_);
    child.input = input_;
    child.output = output_;
    child.error = error_;
    transport_.emplace(kServer, "test", std::move(child), flow_, log_);
  }
  ~StdioTransportTest() override {
    flow_->Close(kServer);
    transport_.reset();
    // The threads hold the pipes until they end.
    while (output_.use_count() + error_.use_count() + input_.use_count() > 3) {
      std::this_thread::yield();
    }
  }

  // Takes deliveries until the end of the output and returns the lines.
  Lines TakeToTheEnd() {
    Lines lines;
    while (const auto message = inbox_->Take(20'000)) {
      EXPECT_EQ(message->server, kServer);
      if (std::holds_alternative<OutputClosed>(message->content)) return lines;
      lines.push_back(std::get<std::string>(message->content));
      flow_->OnHandled(kServer, lines.back().size());
    }
    ADD_FAILURE() << "the end did not come";
    return lines;
  }

  static constexpr ServerId kServer{7};
  Lines record_;
  SharedLog log_;
  const std::shared_ptr<QueueInbox> inbox_ = std::make_shared<QueueInbox>();
  const std::shared_ptr<FlowControl> flow_ = std::make_shared<FlowControl>(inbox_);
  const std::shared_ptr<MemoryPipe> input_ = std::make_shared<MemoryPipe>();
  const std::shared_ptr<MemoryPipe> output_ = std::make_shared<MemoryPipe>();
  const std::shared_ptr<MemoryPipe> error_ = std::make_shared<MemoryPipe>();
  std::optional<StdioTransport> transport_;
};

TEST_F(StdioTransportTest, DeliversLinesAndThenTheEnd) {
  for (const char* chunk : {"a\nb", "\n\n", "c\r\n", "last"}) output_->Feed(chunk);
  output_->End();
  EXPECT_EQ(TakeToTheEnd(), (Lines{"a", "b", "c\r", "last"}));
}

TEST_F(StdioTransportTest, WritesOneLinePerMessageInOrder) {
  EXPECT_TRUE(transport_->Send({.text = "{1}", .requestId = "1", .timeoutMs = 120'000}));
  EXPECT_TRUE(transport_->Send({.text = "{2}", .timeoutMs = 1, .reportsStatus = true}));
  transport_->Refuse("{3}");
  EXPECT_EQ(input_->WaitForBytes(12), "{1}\n{2}\n{3}\n");
}

TEST_F(StdioTransportTest, DropsRequestsThatAreOverdueWhenTheChildReads) {
  input_->SetFull(true);
  (void)transport_->Send({.text = "first", .requestId = "1", .timeoutMs = 120'000});
  (void)transport_->Send({.text = "overdue", .requestId = "2", .timeoutMs = 20});
  (void)transport_->Send({.text = "notification", .timeoutMs = 20});
  (void)transport_->Send({.text = "in time", .requestId = "3", .timeoutMs = 120'000});
  const std::uint64_t endMs = ClockMs() + 40;
  while (ClockMs() < endMs) std::this_thread::yield();
  input_->SetFull(false);
  EXPECT_EQ(input_->WaitForBytes(27), "first\nnotification\nin time\n");
}

// A refusal counts until it has been written.
TEST_F(StdioTransportTest, CountsItsRefusals) {
  input_->SetFull(true);
  for (int i = 0; i < 64; ++i) transport_->Refuse(std::string());
  flow_->DeliverIfRoom(kServer, "no room");
  EXPECT_FALSE(inbox_->Take(0));
  input_->SetFull(false);
  (void)input_->WaitForBytes(64);
  flow_->Deliver(kServer, "room");
  const auto message = inbox_->Take(20'000);
  ASSERT_TRUE(message);
  EXPECT_EQ(std::get<std::string>(message->content), "room");
}

TEST_F(StdioTransportTest, StopsInOrder) {
  (void)transport_->Stop();
  (void)transport_->Stop();
  EXPECT_EQ(record_, (Lines{"input closed", "terminated", "tree ended", "released"}));
  EXPECT_TRUE(input_->IsCancelled() && output_->IsCancelled() && error_->IsCancelled());
  EXPECT_EQ(TakeToTheEnd(), Lines());
}

TEST_F(StdioTransportTest, StopsWhileAWriteWaits) {
  input_->SetFull(true);
  for (int i = 0; i < 3; ++i) {
    (void)transport_->Send({.text = "x", .requestId = "1", .timeoutMs = 120'000});
  }
  (void)transport_->Stop();
  EXPECT_TRUE(transport_->Send({.text = "x", .requestId = "2", .timeoutMs = 120'000}));
  transport_->Refuse("x");
  EXPECT_EQ(TakeToTheEnd(), Lines());
}

TEST_F(StdioTransportTest, StopsWhileTheReaderWaitsForRoom) {
  for (int i = 0; i < 100; ++i) output_->Feed("x\n");
  size_t taken = 0;
  while (taken < 64 && inbox_->Take(20'000)) ++taken;
  EXPECT_EQ(taken, 64u);
  flow_->Close(kServer);
  (void)transport_->Stop();
  const auto last = inbox_->Take(20'000);
  ASSERT_TRUE(last);
  EXPECT_TRUE(std::holds_alternative<OutputClosed>(last->content));
}

TEST_F(StdioTransportTest, LogsTheStandardErrorAtItsEnd) {
  error_->Feed("one\n");
  error_->Feed("two");
  error_->End();
  EXPECT_EQ(log_.WaitForLines(1), Lines{"[MCP test] stderr: one\ntwo"});
}

}  // namespace
}  // namespace wendra
