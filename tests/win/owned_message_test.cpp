#include "win/owned_message.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/test_window_win.h"

namespace wendra {
namespace {

constexpr UINT kTestMessage = WM_APP + 100;

struct Payload {
  explicit Payload(int& count) : alive(count) { ++alive; }
  ~Payload() { --alive; }
  int& alive;
};

TEST(PostOwned, HandsThePayloadToTheWindowProcedure) {
  int alive = 0;
  int taken = 0;
  const TestWindow window([&](UINT message, WPARAM wparam, LPARAM lparam) {
    if (message != kTestMessage) return;
    const auto payload = TakeOwned<Payload>(lparam);
    EXPECT_EQ(wparam, 42u);
    EXPECT_EQ(&payload->alive, &alive);
    ++taken;
  });
  EXPECT_TRUE(PostOwned(window.Handle(), kTestMessage, 42, std::make_unique<Payload>(alive)));
  EXPECT_EQ(alive, 1);
  TestWindow::Pump();
  EXPECT_EQ(taken, 1);
  EXPECT_EQ(alive, 0);
}

TEST(PostOwned, FreesThePayloadWhenThereIsNoWindow) {
  int alive = 0;
  EXPECT_FALSE(PostOwned(nullptr, kTestMessage, 0, std::make_unique<Payload>(alive)));
  EXPECT_EQ(alive, 0);
  HWND gone;
  {
    const TestWindow window;
    gone = window.Handle();
  }
  EXPECT_FALSE(PostOwned(gone, kTestMessage, 0, std::make_unique<Payload>(alive)));
  EXPECT_EQ(alive, 0);
}

TEST(DeliverOwned, WaitsForRoomInAFullQueue) {
  constexpr int kMoreThanAQueueHolds = 12'000;
  std::vector<int> taken;
  const TestWindow window([&](UINT message, WPARAM, LPARAM lparam) {
    if (message == kTestMessage) taken.push_back(*TakeOwned<int>(lparam));
  });
  std::atomic<bool> delivered{true};
  std::thread worker([&] {
    for (int i = 0; i < kMoreThanAQueueHolds; ++i) {
      if (!DeliverOwned(window.Handle(), kTestMessage, 0, std::make_unique<int>(i))) {
        delivered = false;
      }
    }
  });
  MSG message;
  while (taken.size() < kMoreThanAQueueHolds && GetMessageW(&message, nullptr, 0, 0) > 0) {
    DispatchMessageW(&message);
  }
  worker.join();
  EXPECT_TRUE(delivered);
  for (int i = 0; i < kMoreThanAQueueHolds; ++i) ASSERT_EQ(taken[static_cast<size_t>(i)], i);
}

TEST(DeliverOwned, GivesUpWhenTheWindowIsGone) {
  HWND gone;
  {
    const TestWindow window;
    gone = window.Handle();
  }
  EXPECT_FALSE(DeliverOwned(gone, kTestMessage, 0, std::make_unique<int>(1)));
  EXPECT_FALSE(DeliverOwned(nullptr, kTestMessage, 0, std::make_unique<int>(1)));
}

}  // namespace
}  // namespace wendra
